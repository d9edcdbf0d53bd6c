// The media check before publishing, with the real worker probing real and broken files.
#include "media/worker_media_prober.h"
#include "scheduling/media_validator.h"
#include "support/coro_wait.h"
#include "support/test_video.h"
#include "support/wav_file.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

PostMedia attachment(MediaType type, const QString& path)
{
    PostMedia item;
    item.id = QUuid::createUuid();
    item.type = type;
    item.originalPath = FileUrl::fromLocalFile(path);
    return item;
}

} // namespace

TEST(MediaValidator, NamesEveryMissingFileAndUnreadableVideoByPostAndPosition)
{
    QTemporaryDir dir;
    TestVideoOptions options;
    options.seconds = 0.5;
    QString error;
    const QString video = dir.filePath(QStringLiteral("ok.mp4"));
    ASSERT_TRUE(writeTestVideo(video, options, &error)) << error.toStdString();
    const QString sound = dir.filePath(QStringLiteral("voice.wav"));
    ASSERT_TRUE(writeWav(sound, 0.5, {}));
    const QString broken = dir.filePath(QStringLiteral("broken.mp4"));
    QFile file(broken);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not a movie");
    file.close();
    const QString gone = dir.filePath(QStringLiteral("gone.png"));

    Post first;
    first.mediaItems = {attachment(MediaType::video, video), attachment(MediaType::image, gone)};
    Post second;
    second.mediaItems = {attachment(MediaType::video, broken), attachment(MediaType::video, sound)};

    WorkerMediaProber prober(QStringLiteral(QUILLO_MEDIA_BINARY));
    MediaValidator validator(prober);
    Post fine;
    fine.mediaItems = {first.mediaItems[0]};
    EXPECT_TRUE(waitForTask(validator.validate({Post{}, fine})).isValid());

    const MediaValidation result = waitForTask(validator.validate({first, second}));
    EXPECT_EQ(result.totalItems, 4);
    EXPECT_EQ(result.missing, QStringList{QStringLiteral("Post 1, Media 2: ") + gone});
    // A sound file attached as a video is no video either.
    EXPECT_EQ(result.invalid, (QStringList{QStringLiteral("Post 2, Media 1: ") + broken, QStringLiteral("Post 2, Media 2: ") + sound}));
    EXPECT_EQ(result.errorDescription(),
              QStringLiteral("Cannot publish scheduled post due to media issues:\n\n📁 Missing files:\nPost 1, Media 2: ") + gone
                  + QStringLiteral("\n\n🎥 Invalid videos:\nPost 2, Media 1: ") + broken + QStringLiteral("\nPost 2, Media 2: ")
                  + sound
                  + QStringLiteral("\n\nThe media files may have been moved or deleted. Please reschedule this post with valid media."));
}
