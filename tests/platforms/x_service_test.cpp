#include "platforms/x/x_service.h"

#include "core/system_clock.h"
#include "media/image_encoder.h"
#include "platforms/x/x_image_file.h"
#include "support/coro_wait.h"
#include "support/fake_x_server.h"
#include "support/log_capture.h"

#include <QCryptographicHash>
#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <qcoro/qcorotask.h>

using namespace std::chrono_literals;

namespace {

OAuthCredential fakeCredential()
{
    OAuthCredential c;
    c.consumerKey = QString::fromLatin1(FakeXServer::kConsumerKey);
    c.consumerSecret = QString::fromLatin1(FakeXServer::kConsumerSecret);
    c.oauthToken = QString::fromLatin1(FakeXServer::kAccessToken);
    c.oauthTokenSecret = QString::fromLatin1(FakeXServer::kAccessSecret);
    return c;
}

Json bodyOf(const FakeXServer::Request& request)
{
    return Json::parse(request.body.toStdString());
}

class XServiceTest : public ::testing::Test {
protected:
    XServiceTest()
        : service(network, fakeCredential(), clock, {server.baseUrl(), QUrl(QStringLiteral("https://x.example"))},
                  {.initialChunkSize = 1000000, .checkAfterUnit = 2ms, .maxStatusPolls = 10, .timeoutMs = 10000})
    {
    }

    // A file of `size` bytes with a repeating but offset-sensitive pattern.
    QString makeFile(const QString& name, qint64 size)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        QByteArray block(65536, Qt::Uninitialized);
        for (qint64 written = 0; written < size; written += block.size()) {
            for (int i = 0; i < block.size(); ++i)
                block[i] = char((written + i) * 7 / 3);
            file.write(block.constData(), std::min<qint64>(block.size(), size - written));
        }
        return path;
    }

    // The same, starting with a JPEG's marker: X gets it as it is.
    QString makeJpeg(const QString& name, qint64 size)
    {
        const QString path = makeFile(name, size);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        file.write("\xFF\xD8\xFF\xE0", 4);
        return path;
    }

    static QByteArray sha1Of(const QString& path)
    {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(&file);
        return hash.result().toHex();
    }

    template <typename T>
    T run(QCoro::Task<T>&& task)
    {
        return waitForTask(std::move(task));
    }

    XError failureOf(QCoro::Task<QString>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const XError& error) {
            return error;
        }
        ADD_FAILURE() << "no XError";
        return XError(XError::Kind::apiError);
    }

    XError failureOf(QCoro::Task<XPostResult>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const XError& error) {
            return error;
        }
        ADD_FAILURE() << "no XError";
        return XError(XError::Kind::apiError);
    }

    FakeXServer server;
    QNetworkAccessManager network;
    SystemClock clock;
    XService service;
    QTemporaryDir dir;
};

} // namespace

TEST_F(XServiceTest, postsAThreadWithAnImageAndAltText)
{
    const QString image = makeJpeg(QStringLiteral("photo.jpg"), 300000);
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = MediaType::image;
    media.originalPath = QUrl::fromLocalFile(image);
    media.altText = QStringLiteral("A red kite, \"hovering\" & calm");
    QuoteContext quote;
    quote.setIdOn(PlatformType::x, QStringLiteral("555"));
    QList<Post> thread{Post::create(QStringLiteral("One ✨"), {media}), Post::create(QStringLiteral("Two")),
                       Post::create(QStringLiteral("Three"))};
    thread[1].quoteContext = quote;

    QList<XPublishState::Phase> phases;
    const QList<XPostResult> posted = run(service.postThread(thread, false, [&](const XPublishState& s) {
        if (phases.isEmpty() || phases.last() != s.phase)
            phases.append(s.phase);
    }));

    ASSERT_EQ(posted.size(), 3);
    EXPECT_EQ(server.rejectedSignatures(), 0);
    for (const auto& request : server.requests())
        EXPECT_TRUE(request.signatureValid) << request.path.constData();
    const QString mediaId = QString::fromStdString(bodyOf(server.requestsTo("/2/tweets").at(0))["media"]["media_ids"][0]);
    EXPECT_EQ(server.uploadedSha1(mediaId.toLatin1()), sha1Of(image));
    EXPECT_EQ(server.requestsTo("/append").size(), 1u);
    EXPECT_EQ(server.requestsTo("/2/media/upload").size(), 3u); // no status polls for an image

    const Json init = bodyOf(server.requestsTo("/initialize").at(0));
    EXPECT_EQ(init, Json({{"total_bytes", 300000}, {"media_type", "image/jpeg"}, {"media_category", "tweet_image"}}));
    const Json metadata = bodyOf(server.requestsTo("/2/media/metadata").at(0));
    EXPECT_EQ(metadata, Json({{"id", mediaId.toStdString()},
                              {"metadata", {{"alt_text", {{"text", "A red kite, \"hovering\" & calm"}}}}}}));

    const auto tweets = server.requestsTo("/2/tweets");
    ASSERT_EQ(tweets.size(), 3u);
    EXPECT_EQ(bodyOf(tweets[0]), Json({{"text", "One ✨"}, {"media", {{"media_ids", {mediaId.toStdString()}}}}}));
    EXPECT_EQ(bodyOf(tweets[1]), Json({{"text", "Two"},
                                       {"reply", {{"in_reply_to_tweet_id", posted[0].id.toStdString()}}},
                                       {"quote_tweet_id", "555"}}));
    EXPECT_EQ(bodyOf(tweets[2]), Json({{"text", "Three"}, {"reply", {{"in_reply_to_tweet_id", posted[1].id.toStdString()}}}}));
    EXPECT_EQ(posted[2].url.toString(), QStringLiteral("https://x.example/i/web/status/") + posted[2].id);
    using P = XPublishState::Phase;
    EXPECT_EQ(phases, (QList<P>{P::uploadingMedia, P::settingAltText, P::posting, P::posted, P::posting, P::posted,
                                P::posting, P::posted}));
}

TEST_F(XServiceTest, uploadsAVideoThatNeedsTwoProcessingPolls)
{
    server.setProcessingPolls(2);
    const QString video = makeFile(QStringLiteral("clip.mp4"), 2500000);
    QList<XPublishState> states;
    const QString mediaId = run(service.uploadFile(video, true, [&](const XPublishState& s) { states.append(s); }));

    EXPECT_EQ(server.uploadedSha1(mediaId.toLatin1()), sha1Of(video));
    const auto appends = server.requestsTo("/append");
    ASSERT_EQ(appends.size(), 3u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(appends[size_t(i)].formFields.value("segment_index"), QByteArray::number(i));
    EXPECT_EQ(appends[2].mediaSize, 500000);
    const auto polls = server.requestsTo("/2/media/upload");
    const auto statusPolls = std::count_if(polls.begin(), polls.end(), [](const auto& r) { return r.path == "/2/media/upload"; });
    EXPECT_EQ(statusPolls, 2);
    EXPECT_EQ(bodyOf(server.requestsTo("/initialize").at(0))["media_category"], "tweet_video");
    EXPECT_EQ(server.rejectedSignatures(), 0);

    ASSERT_FALSE(states.isEmpty());
    EXPECT_EQ(states.last().phase, XPublishState::Phase::processingMedia);
    const auto uploaded = std::find_if(states.begin(), states.end(), [](const XPublishState& s) { return s.fraction == 1.0; });
    EXPECT_NE(uploaded, states.end());
}

TEST_F(XServiceTest, halvesTheChunkOn413DownToTheFloor)
{
    struct Case {
        const char* name;
        int refuseAbove; // appends larger than this get 413
        std::vector<qsizetype> expectedSizes;
        bool succeeds;
    };
    const Case cases[] = {
        {"every size refused", 0, {1000000, 500000, 256000}, false},
        {"256000 accepted", 256000, {1000000, 500000, 256000, 256000, 256000, 232000}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const size_t before = server.requestsTo("/append").size();
        const size_t finalizesBefore = server.requestsTo("/finalize").size();
        server.setOverride([&](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
            if (r.path.endsWith("/append") && r.mediaSize > c.refuseAbove)
                return FakeXServer::Reply{413, "{}", "application/json", {}};
            return std::nullopt;
        });
        const QString file = makeFile(QStringLiteral("big.mp4"), 1000000);
        std::vector<qsizetype> sizes;
        try {
            const QString id = run(service.uploadFile(file, true));
            EXPECT_TRUE(c.succeeds);
            EXPECT_EQ(server.uploadedSha1(id.toLatin1()), sha1Of(file));
        } catch (const XError& error) {
            EXPECT_FALSE(c.succeeds);
            EXPECT_EQ(error.kind(), XError::Kind::payloadTooLarge);
            EXPECT_EQ(error.detail(), QStringLiteral("Payload too large for append"));
            EXPECT_EQ(error.message(), QStringLiteral("Media payload too large for X"));
        }
        const auto appends = server.requestsTo("/append");
        for (size_t i = before; i < appends.size(); ++i)
            sizes.push_back(appends[i].mediaSize);
        EXPECT_EQ(sizes, c.expectedSizes);
        EXPECT_EQ(server.requestsTo("/finalize").size() - finalizesBefore, c.succeeds ? 1u : 0u);
    }
}

TEST_F(XServiceTest, failedAltTextStillLetsTheTweetPost)
{
    server.setOverride([](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
        if (r.path == "/2/media/metadata")
            return FakeXServer::Reply{500, R"({"title":"Internal Error"})", "application/json", {}};
        return std::nullopt;
    });
    PostMedia media;
    media.type = MediaType::image;
    media.originalPath = QUrl::fromLocalFile(makeJpeg(QStringLiteral("a.jpg"), 1000));
    media.altText = QStringLiteral("alt");
    const XPostResult posted = run(service.post(QStringLiteral("with media"), {media}));
    EXPECT_FALSE(posted.id.isEmpty());
    EXPECT_EQ(server.requestsTo("/2/media/metadata").size(), 1u);
    const std::string mediaId = bodyOf(server.requestsTo("/2/tweets").at(0))["media"]["media_ids"][0];
    EXPECT_EQ(server.uploadedBytes(QByteArray::fromStdString(mediaId)), 1000);
}

TEST_F(XServiceTest, surfacesTheRateLimitResetTime)
{
    struct Case {
        const char* name;
        QMap<QByteArray, QByteArray> headers;
        std::optional<qint64> expected;
    };
    const Case cases[] = {
        {"window", {{"x-rate-limit-remaining", "0"}, {"x-rate-limit-reset", "1900000000"}}, 1900000000},
        {"user day exhausted",
         {{"x-rate-limit-remaining", "12"}, {"x-rate-limit-reset", "1900000000"},
          {"x-user-limit-24hour-remaining", "0"}, {"x-user-limit-24hour-reset", "1900050000"}},
         1900050000},
        {"app day exhausted", {{"x-app-limit-24hour-remaining", "0"}, {"x-app-limit-24hour-reset", "1900070000"}}, 1900070000},
        {"no headers", {}, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.setOverride([&](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
            if (r.path == "/2/tweets")
                return FakeXServer::Reply{429, R"({"title":"Too Many Requests"})", "application/json", c.headers};
            return std::nullopt;
        });
        const XError error = failureOf(service.postTweet({.text = QStringLiteral("hi")}));
        EXPECT_EQ(error.kind(), XError::Kind::rateLimited);
        ASSERT_EQ(error.rateLimitResetAt().has_value(), c.expected.has_value());
        if (c.expected) {
            EXPECT_EQ(error.rateLimitResetAt()->toSecsSinceEpoch(), *c.expected);
            EXPECT_TRUE(error.message().contains(error.rateLimitResetAt()->toLocalTime().toString(Qt::ISODate)));
        }
    }
}

TEST_F(XServiceTest, mapsFailuresToTheirMessages)
{
    struct Case {
        const char* name;
        QByteArray path;
        int status;
        QByteArray body;
        QString message;
    };
    const Case cases[] = {
        {"400", "/2/tweets", 400, "{}", QStringLiteral("Invalid request to X API")},
        {"403", "/2/tweets", 403, "{}", QStringLiteral("Access forbidden by X API")},
        {"503", "/2/tweets", 503, "", QStringLiteral("X API error (status 503)")},
        {"no data.id", "/2/tweets", 201, R"({"data":{}})", QStringLiteral("Failed to post to X")},
        {"not json", "/2/tweets", 200, "<html>", QStringLiteral("Failed to post to X")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.setOverride([&](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
            if (r.path == c.path)
                return FakeXServer::Reply{c.status, c.body, "application/json", {}};
            return std::nullopt;
        });
        EXPECT_EQ(failureOf(service.postTweet({.text = QStringLiteral("x")})).message(), c.message);
    }
}

TEST_F(XServiceTest, rejectsBadUploadAnswersAndFiles)
{
    const QString file = makeFile(QStringLiteral("v.mp4"), 5000);
    server.setOverride([](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
        if (r.path == "/2/media/upload/initialize")
            return FakeXServer::Reply{200, R"({"errors":[]})", "application/json", {}};
        return std::nullopt;
    });
    XError init = failureOf(service.uploadFile(file, true));
    EXPECT_EQ(init.kind(), XError::Kind::uploadInitFailed);
    EXPECT_EQ(init.detail(), QStringLiteral(R"(Upload INIT returned unexpected body: {"errors":[]})"));

    server.setOverride([](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
        if (r.path.endsWith("/append"))
            return FakeXServer::Reply{500, "{}", "application/json", {}};
        return std::nullopt;
    });
    EXPECT_EQ(failureOf(service.uploadFile(file, true)).message(), QStringLiteral("Failed to append media chunk"));

    server.setOverride([](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
        if (r.path == "/2/media/upload" && !r.query.isEmpty())
            return FakeXServer::Reply{200, R"({"data":{"processing_info":{"state":"failed","error":{"message":"bad codec"}}}})", "application/json", {}};
        return std::nullopt;
    });
    const XError processing = failureOf(service.uploadFile(file, true));
    EXPECT_EQ(processing.message(), QStringLiteral("Failed to finalize media upload"));
    EXPECT_TRUE(processing.detail().contains(QStringLiteral("bad codec")));

    // Unknown states are polled again, but not forever.
    server.setOverride([](const FakeXServer::Request& r) -> std::optional<FakeXServer::Reply> {
        if (r.path == "/2/media/upload" && !r.query.isEmpty())
            return FakeXServer::Reply{200, R"({"data":{"processing_info":{"state":"mystery","check_after_secs":1}}})", "application/json", {}};
        return std::nullopt;
    });
    EXPECT_EQ(failureOf(service.uploadFile(file, true)).kind(), XError::Kind::finalizeFailed);

    const XError missing = failureOf(service.uploadFile(dir.filePath(QStringLiteral("gone.mp4")), true));
    EXPECT_EQ(missing.kind(), XError::Kind::mediaUnreadable);
    EXPECT_TRUE(missing.message().contains(QStringLiteral("gone.mp4")));
}

TEST_F(XServiceTest, wrongSecretsAreRefusedByTheServer)
{
    OAuthCredential wrong = fakeCredential();
    wrong.oauthTokenSecret = QStringLiteral("not the secret");
    service.updateCredentials(wrong);
    EXPECT_EQ(failureOf(service.postTweet({.text = QStringLiteral("x")})).message(),
              QStringLiteral("Failed to authenticate with X"));
    EXPECT_EQ(server.rejectedSignatures(), 1);

    service.updateCredentials(fakeCredential());
    EXPECT_EQ(run(service.verifyCredentials()).screenName, QStringLiteral("quillo_user"));
}

TEST_F(XServiceTest, communityPostsSendShareOnlyWhenChosen)
{
    run(service.postTweet({.text = QStringLiteral("a"), .quoteOf = QStringLiteral("77"), .communityId = QStringLiteral("c1")}));
    run(service.postTweet({.text = QStringLiteral("b"), .communityId = QStringLiteral("c1"), .shareWithFollowers = true}));
    const auto tweets = server.requestsTo("/2/tweets");
    EXPECT_EQ(bodyOf(tweets[0]), Json({{"text", "a"}, {"quote_tweet_id", "77"}, {"community_id", "c1"}}));
    EXPECT_EQ(bodyOf(tweets[1]), Json({{"text", "b"}, {"community_id", "c1"}, {"share_with_followers", true}}));
}

TEST_F(XServiceTest, cancellingStopsBetweenChunks)
{
    const QString file = makeFile(QStringLiteral("c.mp4"), 2500000);
    const XError error = failureOf(service.uploadFile(file, true, [&](const XPublishState& s) {
        if (s.fraction > 0)
            service.cancel();
    }));
    EXPECT_EQ(error.kind(), XError::Kind::cancelled);
    EXPECT_EQ(server.requestsTo("/append").size(), 1u);
    EXPECT_TRUE(server.requestsTo("/finalize").empty());
}

namespace images {

// Stands in for the media worker: "encodes" into a JPEG-looking buffer of a set size.
class FakeJpegEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        requests.append(request);
        QByteArray jpeg = output;
        co_return jpeg;
    }
    QByteArray output = QByteArray("\xFF\xD8\xFF\xE0", 4) + QByteArray(5000, 'j');
    QList<ImageEncodeRequest> requests;
};

// A GIF of `frames` 1x1 frames, each with a graphic control extension.
QByteArray gif(int frames)
{
    QByteArray bytes("GIF89a\x01\x00\x01\x00\x80\x00\x00", 13);
    bytes += QByteArray("\x00\x00\x00\xff\xff\xff", 6); // global colour table of 2
    for (int i = 0; i < frames; ++i) {
        bytes += QByteArray("\x21\xF9\x04\x00\x0A\x00\x00\x00", 8);
        bytes += QByteArray("\x2C\x00\x00\x00\x00\x01\x00\x01\x00\x00", 10);
        bytes += QByteArray("\x02\x02\x44\x01\x00", 5);
    }
    return bytes + ';';
}

class XImageUpload : public XServiceTest {
protected:
    XImageUpload() { service.setImageEncoder(&encoder); }

    PostMedia imageFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        PostMedia media;
        media.id = QUuid::createUuid();
        media.type = MediaType::image;
        media.originalPath = QUrl::fromLocalFile(path);
        return media;
    }
    QByteArray uploadedSha1(const QString& mediaId) { return server.uploadedSha1(mediaId.toLatin1()); }

    FakeJpegEncoder encoder;
};

// What goes up is what the label says: JPEG as it is, an animated GIF as a GIF, anything
// else (PNG, a still GIF, a JPEG over 5 MB) encoded to JPEG within X's limit.
TEST_F(XImageUpload, TheBytesMatchTheLabel)
{
    const QByteArray smallJpeg = QByteArray("\xFF\xD8\xFF\xE1", 4) + QByteArray(1000, 'a');
    const QByteArray bigJpeg = QByteArray("\xFF\xD8\xFF\xE1", 4) + QByteArray(XImageFile::kMaxImageBytes, 'b');
    const QByteArray png = QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(3000, 'p');
    struct Case {
        const char* name;
        QByteArray bytes;
        bool encoded;
        const char* mediaType;
        const char* category;
    };
    const Case cases[] = {
        {"small.jpg", smallJpeg, false, "image/jpeg", "tweet_image"},
        {"big.jpg", bigJpeg, true, "image/jpeg", "tweet_image"},
        {"shot.png", png, true, "image/jpeg", "tweet_image"},
        {"still.gif", gif(1), true, "image/jpeg", "tweet_image"},
        {"anim.gif", gif(3), false, "image/gif", "tweet_gif"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const qsizetype before = encoder.requests.size();
        const QString id = run(service.uploadMedia(imageFile(QString::fromLatin1(c.name), c.bytes)));
        const QByteArray sent = c.encoded ? encoder.output : c.bytes;
        EXPECT_EQ(uploadedSha1(id), QCryptographicHash::hash(sent, QCryptographicHash::Sha1).toHex());
        EXPECT_EQ(bodyOf(server.requestsTo("/initialize").back()),
                  Json({{"total_bytes", sent.size()}, {"media_type", c.mediaType}, {"media_category", c.category}}));
        ASSERT_EQ(encoder.requests.size() - before, c.encoded ? 1 : 0);
        if (c.encoded) {
            EXPECT_EQ(encoder.requests.back().format, ImageFormat::jpeg);
            EXPECT_EQ(encoder.requests.back().maxBytes, XImageFile::kMaxImageBytes);
        }
    }

    // An encoder that cannot make a JPEG under the limit fails the upload before it starts.
    const size_t initializes = server.requestsTo("/initialize").size();
    encoder.output = png;
    EXPECT_EQ(failureOf(service.uploadMedia(imageFile(QStringLiteral("again.png"), png))).kind(), XError::Kind::mediaUnreadable);
    encoder.output = QByteArray("\xFF\xD8\xFF", 3) + QByteArray(XImageFile::kMaxImageBytes, 'x');
    EXPECT_EQ(failureOf(service.uploadMedia(imageFile(QStringLiteral("huge.png"), png))).kind(), XError::Kind::mediaUnreadable);
    EXPECT_EQ(server.requestsTo("/initialize").size(), initializes);
}

TEST(XImageFile, CountsGifFramesAndNeverReadsPastTheEnd)
{
    for (int frames = 0; frames < 5; ++frames)
        EXPECT_EQ(XImageFile::gifFrameCount(gif(frames)), frames);
    // Every prefix of a GIF is read without running off its end; a cut frame does not count.
    const QByteArray whole = gif(4);
    for (qsizetype size = 0; size <= whole.size(); ++size)
        EXPECT_LE(XImageFile::gifFrameCount(whole.left(size)), 4);
    EXPECT_EQ(XImageFile::classify(gif(2)), XImageFile::Kind::animatedGif);
    EXPECT_EQ(XImageFile::classify(gif(1)), XImageFile::Kind::other);
}

TEST_F(XImageUpload, AltTextIsCutToXsLengthAndNothingSecretIsLogged)
{
    PostMedia media = imageFile(QStringLiteral("a.jpg"), QByteArray("\xFF\xD8\xFF\xE1", 4) + QByteArray(100, 'a'));
    // 999 letters then an emoji: a cut must not split the emoji's two halves.
    media.altText = QString(999, u'a') + QStringLiteral("🎉") + QString(600, u'b');
    LogCapture log;
    run(service.post(QStringLiteral("with alt"), {media}));
    const Json metadata = bodyOf(server.requestsTo("/2/media/metadata").back());
    EXPECT_EQ(QString::fromStdString(metadata["metadata"]["alt_text"]["text"].get<std::string>()), QString(999, u'a'));

    QStringList secrets = {QString::fromLatin1(FakeXServer::kConsumerKey), QString::fromLatin1(FakeXServer::kConsumerSecret),
                           QString::fromLatin1(FakeXServer::kAccessToken), QString::fromLatin1(FakeXServer::kAccessSecret)};
    for (const auto& request : server.requests())
        secrets << QString::fromLatin1(request.oauth.value("oauth_signature"));
    EXPECT_EQ(log.linesHoldingAnyOf(secrets), QStringList());
}

// A publication cancelled on this client does not stop the next one through it.
TEST_F(XServiceTest, aCancelEndsWithItsPublication)
{
    service.cancel();
    EXPECT_EQ(failureOf(service.post(QStringLiteral("stopped"), {})).kind(), XError::Kind::cancelled);
    const QList<XPostResult> posted = run(service.postThread({Post::create(QStringLiteral("next"))}));
    EXPECT_EQ(posted.size(), 1);
}

} // namespace images
