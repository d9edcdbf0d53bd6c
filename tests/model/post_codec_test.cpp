#include "model/post.h"
#include "model/video_export_preset.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

std::vector<std::string> keysOf(const Json& object)
{
    std::vector<std::string> keys;
    for (const auto& item : object.items())
        keys.push_back(item.key());
    return keys;
}

PostMedia plainVideo()
{
    PostMedia video;
    video.id = QUuid::fromString(u"22222222-3333-4444-8555-666666666666");
    video.type = MediaType::video;
    video.originalPath = FileUrl::fromLocalFile(QStringLiteral("/media/clip.mov"));
    return video;
}

TEST(PostCodec, EmptyTextWithAnImageAndNoFocusFlag)
{
    Post post = Post::create(QString(), {plainVideo()});
    post.mediaItems[0].type = MediaType::image;
    post.isFocused = true;

    const Json json = post.toJson();
    EXPECT_EQ(keysOf(json), (std::vector<std::string>{"id", "text", "mediaItems"}));
    EXPECT_EQ(json["text"], "");
    EXPECT_EQ(json["mediaItems"][0]["type"].dump(), R"({"image":{}})");

    const Post decoded = Post::fromJson(json);
    EXPECT_FALSE(decoded.isFocused);
    EXPECT_EQ(decoded.mediaItems, post.mediaItems);
    EXPECT_EQ(QString::fromStdString(json["id"].get<std::string>()),
              post.id.toString(QUuid::WithoutBraces).toUpper());
}

TEST(PostCodec, UneditedVideoWritesOnlyItsRequiredKeys)
{
    const Json json = plainVideo().toJson();
    EXPECT_EQ(json.dump(),
              R"({"id":"22222222-3333-4444-8555-666666666666","type":{"video":{}},)"
              R"("originalPath":{"relative":"file:///media/clip.mov"},"redactions":[],)"
              R"("areSubtitlesRendered":false,"isMissing":false})");
}

TEST(PostCodec, EditedVideoKeepsKeyOrder)
{
    PostMedia video = plainVideo();
    video.videoDuration = 12.0;
    video.altText = QStringLiteral("alt");
    video.subtitles = SubtitleTrack{{}, QStringLiteral("de-DE"), std::nullopt, Timestamp::fromReferenceSeconds(1.5)};
    video.renderedExportPreset = rawValue(VideoExportPreset::fourK);
    video.trimClips = QList<ClipSegment>{{QUuid::createUuid(), 0.5, 3}};

    const Json json = video.toJson();
    EXPECT_EQ(keysOf(json),
              (std::vector<std::string>{"id", "type", "originalPath", "videoDuration", "altText", "redactions",
                                        "subtitles", "areSubtitlesRendered", "renderedExportPreset", "isMissing",
                                        "trimClips"}));
    EXPECT_EQ(json["videoDuration"].dump(), "12");
    EXPECT_EQ(json["subtitles"].dump(), R"({"segments":[],"languageCode":"de-DE","createdAt":1.5})");
    EXPECT_EQ(JsonReader::read(json, DateEncoding::referenceSeconds, &PostMedia::decode), video);
}

TEST(PostCodec, BlurredRedactionsAreMarkedAndOlderOnesReadAsBlack)
{
    PostMedia image = plainVideo();
    image.type = MediaType::image;
    image.redactions = {RedactionRect{0.1, 0.2, 0.3, 0.4}, RedactionRect{0.5, 0.5, 0.25, 0.25, true}};
    const Json json = image.toJson();
    EXPECT_EQ(json["redactions"].dump(),
              R"([{"x":0.1,"y":0.2,"width":0.3,"height":0.4},{"x":0.5,"y":0.5,"width":0.25,"height":0.25,"blurred":true}])");
    EXPECT_EQ(JsonReader::read(json, DateEncoding::referenceSeconds, &PostMedia::decode), image);
}

TEST(PostCodec, UrlForms)
{
    const auto decodeUrl = [](const char* text) {
        return JsonReader::read(QByteArray(text), DateEncoding::referenceSeconds,
                                [](const JsonReader& root) { return root.fileUrl().toUrl(); });
    };
    EXPECT_EQ(decodeUrl(R"({"relative":"file:///a%20b/c.png"})").toLocalFile(), u"/a b/c.png");
    EXPECT_EQ(decodeUrl(R"({"relative":"c.png","base":{"relative":"file:///a/"}})").toLocalFile(), u"/a/c.png");
    EXPECT_EQ(decodeUrl(R"("file:///plain.png")").toLocalFile(), u"/plain.png");
    EXPECT_THROW(decodeUrl(R"({"base":"file:///a/"})"), CodingError);
    EXPECT_THROW(decodeUrl(R"(7)"), CodingError);
    JsonWriter writer;
    writer.fileUrl(FileUrl::fromLocalFile(QStringLiteral("/a b/ü.png")));
    EXPECT_EQ(writer.text(), R"({"relative":"file:///a%20b/%C3%BC.png"})");
    // Stored text is kept as it was written, so a load and save changes nothing.
    EXPECT_EQ(decodeUrl(R"({"relative":"file:///a b.png"})").toLocalFile(), u"/a b.png");
}

TEST(PostCodec, NumbersThatJsonCannotHoldFailToEncode)
{
    PostMedia video = plainVideo();
    video.videoDuration = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(video.toJson(), CodingError);
}

TEST(PostMediaFiles, FromImageWritesAUniqueFileIntoTheMediaFolder)
{
    QTemporaryDir root;
    const QString mediaDir = root.filePath(QStringLiteral("Quillo/Media"));
    const QByteArray png("\x89PNG encoded elsewhere");

    const auto first = PostMedia::fromImage(png, mediaDir);
    const auto second = PostMedia::fromImage(png, mediaDir);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->localFile(), second->localFile());
    EXPECT_TRUE(first->localFile().startsWith(mediaDir + u'/'));
    EXPECT_TRUE(first->localFile().endsWith(QStringLiteral(".png")));
    QFile written(first->localFile());
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), png);
    EXPECT_TRUE(first->isImage());
    EXPECT_TRUE(first->redactions.isEmpty());
    EXPECT_FALSE(first->isMissing || first->areSubtitlesRendered || first->subtitles);

    EXPECT_FALSE(PostMedia::fromImage(QByteArray(), mediaDir));
    // A media folder that cannot be created (a file stands in its way).
    QFile blocker(root.filePath(QStringLiteral("blocked")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    EXPECT_FALSE(PostMedia::fromImage(png, blocker.fileName() + QStringLiteral("/Media")));
}

TEST(PostMediaFiles, VideoIsCopiedOrKeepsItsOriginalLocation)
{
    QTemporaryDir root;
    const QString source = root.filePath(QStringLiteral("clip.mp4"));
    QFile file(source);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not really a video");
    file.close();

    const PostMedia copied = PostMedia::fromVideo(source, root.filePath(QStringLiteral("Media")), 4.5);
    EXPECT_TRUE(copied.isVideo());
    EXPECT_TRUE(copied.localFile().startsWith(root.filePath(QStringLiteral("Media/"))));
    EXPECT_TRUE(copied.localFile().endsWith(u".mp4"));
    EXPECT_EQ(copied.videoDuration, 4.5);

    // A media folder that cannot be created: the attachment points at the original.
    const QString blocked = root.filePath(QStringLiteral("clip.mp4/Media"));
    EXPECT_EQ(PostMedia::fromVideo(source, blocked).localFile(), source);
}

} // namespace
