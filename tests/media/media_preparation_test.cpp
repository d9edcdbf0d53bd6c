// Getting a thread's videos ready before publishing, and applying the composer's trims,
// with an exporter double that records what was asked and can fail or be cancelled.
#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "media/media_preparation_service.h"
#include "media/timeline_trim_service.h"
#include "media/video_preparation_error.h"
#include "support/coro_wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class RecordingExporter : public VideoExporter {
public:
    QCoro::Task<QString> exportVideo(VideoExportRequest request, Progress progress) override
    {
        requests.append(request);
        if (requests.size() == failAt)
            throw MediaError::outputFailed(QStringLiteral("disk full"));
        progress(0.5);
        QFile file(request.output);
        file.open(QIODevice::WriteOnly);
        file.write("exported");
        co_return request.output;
    }
    void cancel() override {}

    QList<VideoExportRequest> requests;
    qsizetype failAt = -1;
};

class RecordingImageEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        requests.append(request);
        if (fail)
            throw MediaError::unreadableInput(request.input);
        co_return QByteArray("redacted png");
    }

    QList<ImageEncodeRequest> requests;
    bool fail = false;
};

PostMedia media(MediaType type, const QString& file)
{
    PostMedia item;
    item.id = QUuid::createUuid();
    item.type = type;
    item.originalPath = FileUrl::fromLocalFile(file);
    return item;
}

class MediaPreparation : public ::testing::Test {
protected:
    MediaPreparation()
        : paths(AppPaths::underHome(home.path()))
        , preferences(paths)
    {
        paths.ensureExists();
    }

    QTemporaryDir home;
    QTemporaryDir temporary;
    AppPaths paths;
    PreferenceStore preferences;
    RecordingExporter exporter;
    RecordingImageEncoder images;
};

} // namespace

TEST_F(MediaPreparation, EachVideoIsExportedWithItsOwnSettingsAndCounted)
{
    preferences.setValue(PreferenceKeys::PublishingExportPreset, QStringLiteral("hd"));
    preferences.setValue(PreferenceKeys::WatermarkImagePath, QStringLiteral("/marks/logo.png"));
    Post first;
    first.mediaItems = {media(MediaType::image, QStringLiteral("/m/a.png")), media(MediaType::video, QStringLiteral("/m/b.mov"))};
    PostMedia edited = media(MediaType::video, QStringLiteral("/m/c.mp4"));
    edited.renderedExportPreset = QStringLiteral("original");
    edited.trimClips = QList<ClipSegment>{ClipSegment{QUuid::createUuid(), 1, 4}};
    SubtitleSegment caption;
    caption.start = 1;
    caption.end = 2;
    caption.text = QStringLiteral("hi");
    edited.subtitles = SubtitleTrack{{caption}, std::nullopt, std::nullopt, {}};
    edited.areSubtitlesRendered = true;
    Post second;
    second.mediaItems = {edited};

    MediaPreparationService service(exporter, images, preferences, temporary.path());
    QStringList statuses;
    const PreparedThread prepared = waitForTask(service.prepare({first, second}, [&](const QString& status, double) {
        if (statuses.isEmpty() || statuses.constLast() != status)
            statuses.append(status);
    }));

    EXPECT_EQ(statuses, (QStringList{QStringLiteral("Compressing videos (1/2)"), QStringLiteral("Compressing videos (2/2)")}));
    ASSERT_EQ(exporter.requests.size(), 2);
    EXPECT_EQ(exporter.requests[0].presets, sessionPresetsFor(VideoExportPreset::hd));
    EXPECT_TRUE(exporter.requests[0].clips.isEmpty());
    EXPECT_TRUE(exporter.requests[0].subtitles.isEmpty());
    ASSERT_TRUE(exporter.requests[0].watermark);
    EXPECT_EQ(exporter.requests[0].watermark->sizeMultiplier, 0.5);
    EXPECT_EQ(exporter.requests[1].presets, sessionPresetsFor(VideoExportPreset::original));
    EXPECT_EQ(exporter.requests[1].clips, (QList<TimeRange>{{1, 4}}));
    EXPECT_EQ(exporter.requests[1].subtitles.size(), 1);
    EXPECT_TRUE(exporter.requests[1].output.startsWith(service.workingFolder()));
    EXPECT_TRUE(service.workingFolder().endsWith(QStringLiteral("/Quillo-Video")));
    // The posts now point at the exports; the image is untouched.
    EXPECT_EQ(prepared.posts[0].mediaItems[0].localFile(), QStringLiteral("/m/a.png"));
    EXPECT_EQ(prepared.posts[1].mediaItems[0].localFile(), exporter.requests[1].output);
    EXPECT_FALSE(prepared.posts[1].mediaItems[0].trimClips);
    EXPECT_EQ(prepared.temporaryFiles.size(), 2);
    MediaPreparationService::discard(prepared);
    EXPECT_FALSE(QFile::exists(exporter.requests[0].output));

    // Switched off, or with no image, there is no watermark; a thread without video is left alone.
    preferences.setValue(PreferenceKeys::WatermarkEnabled, false);
    exporter.requests.clear();
    waitForTask(service.prepare({first}, [](const QString&, double) {}));
    EXPECT_FALSE(exporter.requests[0].watermark);
    Post text;
    text.text = QStringLiteral("no media");
    exporter.requests.clear();
    EXPECT_EQ(waitForTask(service.prepare({text}, [](const QString&, double) {})).posts[0].text, QStringLiteral("no media"));
    EXPECT_TRUE(exporter.requests.isEmpty());
}

TEST_F(MediaPreparation, AFailedExportFailsTheStepAndRemovesWhatWasMade)
{
    Post post;
    post.mediaItems = {media(MediaType::video, QStringLiteral("/m/a.mp4")), media(MediaType::video, QStringLiteral("/m/b.mp4"))};
    exporter.failAt = 2;
    MediaPreparationService service(exporter, images, preferences, temporary.path());
    try {
        waitForTask(service.prepare({post}, [](const QString&, double) {}));
        ADD_FAILURE() << "the failed export went unnoticed";
    } catch (const VideoPreparationError& error) {
        EXPECT_EQ(error.message(), QStringLiteral("Unable to compress video"));
        EXPECT_EQ(error.domain(), QStringLiteral("media_compression"));
        EXPECT_TRUE(QString::fromUtf8(error.what()).contains(QStringLiteral("disk full")));
    }
    EXPECT_FALSE(QFile::exists(exporter.requests[0].output));

    TimelineTrimService trims(exporter, temporary.path());
    PostMedia trimmed = media(MediaType::video, QStringLiteral("/m/c.mp4"));
    trimmed.trimClips = QList<ClipSegment>{ClipSegment{QUuid::createUuid(), 0.5, 2}};
    exporter.requests.clear();
    exporter.failAt = 1;
    try {
        waitForTask(trims.applyTrimClips({trimmed}, [](const QString&, double) {}));
        ADD_FAILURE() << "the failed trim went unnoticed";
    } catch (const VideoPreparationError& error) {
        EXPECT_EQ(error.message(), QStringLiteral("Unable to export trimmed video"));
    }
}

TEST_F(MediaPreparation, TrimsAreAppliedToTrimmedVideosOnly)
{
    TimelineTrimService trims(exporter, temporary.path());
    PostMedia trimmed = media(MediaType::video, QStringLiteral("/m/c.mov"));
    trimmed.trimClips = QList<ClipSegment>{ClipSegment{QUuid::createUuid(), 0.5, 2}, ClipSegment{QUuid::createUuid(), 3, 4}};
    const PostMedia whole = media(MediaType::video, QStringLiteral("/m/d.mov"));
    QStringList statuses;
    const QList<PostMedia> done = waitForTask(trims.applyTrimClips({whole, trimmed}, [&](const QString& status, double) {
        if (statuses.isEmpty() || statuses.constLast() != status)
            statuses.append(status);
    }));
    EXPECT_EQ(statuses, (QStringList{QStringLiteral("Applying video edits (1/1)"), QStringLiteral("Applying video edits")}));
    ASSERT_EQ(exporter.requests.size(), 1);
    // Exact cuts first; a copy only when re-encoding cannot be done.
    EXPECT_EQ(exporter.requests[0].presets, (QList<ExportSessionPreset>{ExportSessionPreset::highestQuality, ExportSessionPreset::passthrough}));
    EXPECT_TRUE(exporter.requests[0].output.contains(QStringLiteral("/Quillo-TimelineEdits/")));
    EXPECT_TRUE(exporter.requests[0].output.endsWith(QStringLiteral(".mov")));
    EXPECT_EQ(done[0], whole);
    EXPECT_EQ(done[1].localFile(), exporter.requests[0].output);
    EXPECT_EQ(done[1].videoDuration, 2.5);
    EXPECT_FALSE(done[1].trimClips);
}

TEST_F(MediaPreparation, RedactedImagesAreSentBlackedOutOrNotAtAll)
{
    PostMedia secret = media(MediaType::image, QStringLiteral("/m/screenshot.png"));
    secret.redactions = {RedactionRect{0.1, 0.2, 0.3, 0.1}};
    const PostMedia plain = media(MediaType::image, QStringLiteral("/m/cat.png"));
    Post post;
    post.mediaItems = {secret, plain};
    MediaPreparationService service(exporter, images, preferences, temporary.path());
    EXPECT_TRUE(MediaPreparationService::needsPreparation({post}));

    const PreparedThread prepared = waitForTask(service.prepare({post}, [](const QString&, double) {}));
    ASSERT_EQ(images.requests.size(), 1);
    EXPECT_EQ(images.requests[0].redactions, secret.redactions);
    const PostMedia& sent = prepared.posts[0].mediaItems[0];
    EXPECT_TRUE(sent.localFile().startsWith(service.workingFolder()));
    EXPECT_TRUE(sent.redactions.isEmpty());
    QFile written(sent.localFile());
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("redacted png"));
    EXPECT_EQ(prepared.posts[0].mediaItems[1], plain);
    EXPECT_TRUE(exporter.requests.isEmpty());

    // When blacking out fails the thread does not go out at all, least of all with the original.
    images.fail = true;
    try {
        waitForTask(service.prepare({post}, [](const QString&, double) {}));
        ADD_FAILURE() << "a failed redaction went unnoticed";
    } catch (const VideoPreparationError& error) {
        EXPECT_EQ(error.kind(), VideoPreparationError::Kind::redaction);
    }
}
