#include "platforms/mastodon/mastodon_service.h"

#include "core/endpoints.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "model/social_account.h"
#include "support/coro_wait.h"
#include "support/fake_mastodon_server.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

// Answers PNG and JPEG requests from the test's functions and records what it was asked.
class FakeImageEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        requests.append(request);
        const auto& encode = request.format == ImageFormat::png ? png : jpeg;
        co_return encode(request);
    }

    std::function<QByteArray(const ImageEncodeRequest&)> png = [](const ImageEncodeRequest&) {
        return QByteArray("\x89PNG\r\n\x1a\n-png-bytes\r\n--not-a-boundary", 34);
    };
    std::function<QByteArray(const ImageEncodeRequest&)> jpeg = [](const ImageEncodeRequest&) {
        return QByteArray("\xff\xd8\xff-jpeg-bytes");
    };
    QList<ImageEncodeRequest> requests;
};

// Every log line of the test, to prove that no secret reaches the log (checked at teardown).
class LogCapture {
public:
    LogCapture() { s_lines.clear(); s_previous = qInstallMessageHandler(&LogCapture::handler); }
    ~LogCapture() { qInstallMessageHandler(s_previous); }
    static QStringList lines() { return s_lines; }

private:
    static void handler(QtMsgType, const QMessageLogContext&, const QString& message) { s_lines.append(message); }
    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

MastodonCredentials fakeCredentials()
{
    return {QUuid(QStringLiteral("{11111111-2222-3333-4444-555555555555}")), QStringLiteral("fake.example"),
            QString::fromLatin1(FakeMastodonServer::kClientId), QString::fromLatin1(FakeMastodonServer::kClientSecret),
            QString::fromLatin1(FakeMastodonServer::kAccessToken)};
}

FakeMastodonServer::Reply reply(int status, QByteArray body, QByteArray type = "application/json",
                                QMap<QByteArray, QByteArray> headers = {})
{
    return {status, std::move(body), std::move(type), std::move(headers), false};
}

class MastodonServiceTest : public ::testing::Test {
protected:
    MastodonServiceTest()
        : service(network, fakeCredentials(), images,
                  {.baseUrl = server.baseUrl(), .retryUnit = 1ms, .processingPollInterval = 1ms, .timeoutMs = 10000})
    {
    }

    ~MastodonServiceTest() override
    {
        for (const QString& line : LogCapture::lines()) {
            EXPECT_FALSE(line.contains(QString::fromLatin1(FakeMastodonServer::kAccessToken))) << line.toStdString();
            EXPECT_FALSE(line.contains(QString::fromLatin1(FakeMastodonServer::kClientSecret))) << line.toStdString();
        }
    }

    PostMedia file(const QString& name, MediaType type, qint64 size, std::optional<QString> alt = std::nullopt)
    {
        const QString path = dir.filePath(name);
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(QByteArray("media:") + name.toUtf8());
        out.resize(size); // sparse: a 40 MB video costs nothing to make
        PostMedia media;
        media.id = QUuid::createUuid();
        media.type = type;
        media.originalPath = QUrl::fromLocalFile(path);
        media.altText = std::move(alt);
        return media;
    }

    // Answers requests to `path` with these replies in turn (the last one `times` times, or
    // for ever), then lets the built-in behaviour answer.
    void answer(const QByteArray& path, QList<FakeMastodonServer::Reply> replies, int times = -1)
    {
        auto left = std::make_shared<std::pair<QList<FakeMastodonServer::Reply>, int>>(std::move(replies), times);
        server.setOverride([=](const FakeMastodonServer::Request& r) -> std::optional<FakeMastodonServer::Reply> {
            if (r.path != path || left->first.isEmpty())
                return std::nullopt;
            if (left->first.size() > 1 || --left->second == 0)
                return left->first.takeFirst();
            return left->first.first();
        });
    }

    template <typename T>
    MastodonError failureOf(QCoro::Task<T>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const MastodonError& error) {
            return error;
        }
        ADD_FAILURE() << "no MastodonError";
        return MastodonError(MastodonError::Kind::invalidResponse);
    }

    LogCapture log;
    FakeMastodonServer server;
    QNetworkAccessManager network;
    FakeImageEncoder images;
    MastodonService service;
    QTemporaryDir dir;
};

const QUuid kScheduledPost(QStringLiteral("{aaaaaaaa-bbbb-cccc-dddd-eeeeeeeeeeee}"));

} // namespace

TEST_F(MastodonServiceTest, publishesAThreadWithAnImageAndAVideoAsAReplyChain)
{
    server.setProcessingPolls(2);
    const QList<Post> thread{
        Post::create(QStringLiteral("First ✨"), {file(QStringLiteral("kite.heic"), MediaType::image, 5000,
                                                        QStringLiteral("A red kite\r\n--hovering"))}),
        Post::create(QStringLiteral("Second"), {file(QStringLiteral("clip.MP4"), MediaType::video, 3000)}),
        Post::create(QStringLiteral("Third")),
    };
    QList<int> posted;
    const QList<MastodonPostResult> results = waitForTask(
        service.postThread({thread, kScheduledPost}, {}, [&](int index, const MastodonPostResult&) { posted.append(index); }));

    const auto statuses = server.statuses();
    ASSERT_EQ(statuses.size(), 3u);
    ASSERT_EQ(results.size(), 3);
    EXPECT_EQ(posted, (QList<int>{0, 1, 2}));
    EXPECT_TRUE(statuses[0].inReplyToId.isEmpty());
    EXPECT_EQ(statuses[1].inReplyToId, statuses[0].id);
    EXPECT_EQ(statuses[2].inReplyToId, statuses[1].id);
    EXPECT_EQ(results[2].url, QUrl(QStringLiteral("https://fake.example/@quillo/") + QString::fromLatin1(statuses[2].id)));

    // The image: PNG first, the body byte for byte, alt text included.
    const auto uploads = server.requestsTo("/api/v1/media");
    ASSERT_EQ(uploads.size(), 2u);
    const QByteArray type = uploads[0].headers.value("content-type");
    ASSERT_TRUE(type.startsWith("multipart/form-data; boundary="));
    const QByteArray boundary = type.mid(30);
    EXPECT_EQ(uploads[0].body, "--" + boundary + "\r\n"
                                   "Content-Disposition: form-data; name=\"file\"; filename=\"media.png\"\r\n"
                                   "Content-Type: image/png\r\n\r\n"
                                   + images.png({}) + "\r\n"
                                   "--" + boundary + "\r\n"
                                   "Content-Disposition: form-data; name=\"description\"\r\n\r\n"
                                   "A red kite\r\n--hovering\r\n"
                                   "--" + boundary + "\r\n"
                                   "Content-Disposition: form-data; name=\"focus\"\r\n\r\n"
                                   "0,0\r\n"
                                   "--" + boundary + "--\r\n");
    EXPECT_EQ(uploads[0].headers.value("authorization"), QByteArray("Bearer ") + FakeMastodonServer::kAccessToken);
    // The video: its own extension, no description part, then the processing wait.
    EXPECT_EQ(uploads[1].fileName, "media.mp4");
    EXPECT_EQ(uploads[1].fileType, "video/mp4");
    EXPECT_EQ(uploads[1].fileData.size(), 3000);
    EXPECT_FALSE(uploads[1].fields.contains("description"));
    EXPECT_EQ(uploads[1].fields.value("focus"), "0,0");
    EXPECT_EQ(server.requestsTo("/api/v1/media/" + statuses[1].mediaIds.value(0)).size(), 3u); // processed on the 3rd poll

    // The status bodies as written, each with its own stable key.
    const auto posts = server.requestsTo("/api/v1/statuses");
    ASSERT_EQ(posts.size(), 3u);
    EXPECT_EQ(posts[0].json(), Json::parse(R"({"status":"First ✨","visibility":"public","media_ids":[")"
                                           + statuses[0].mediaIds.value(0).toStdString() + "\"]}"));
    EXPECT_EQ(posts[1].json()["in_reply_to_id"], statuses[0].id.toStdString());
    EXPECT_FALSE(posts[2].json().contains("media_ids"));
    EXPECT_EQ(posts[2].headers.value("content-type"), "application/json");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(posts[i].headers.value("idempotency-key"),
                  MastodonService::idempotencyKey(kScheduledPost, fakeCredentials().accountId, i).toUtf8());
    EXPECT_NE(MastodonService::idempotencyKey(kScheduledPost, QUuid::createUuid(), 0),
              MastodonService::idempotencyKey(kScheduledPost, fakeCredentials().accountId, 0));
}

TEST_F(MastodonServiceTest, aLostAnswerIsRetriedOnlyWithItsKeyAndYieldsOneStatus)
{
    server.loseNextStatusAnswer();
    const MastodonPostResult result =
        waitForTask(service.post({QStringLiteral("Once"), {}, {}, QStringLiteral("key-1")}));
    ASSERT_EQ(server.statuses().size(), 1u);
    EXPECT_EQ(result.id.toUtf8(), server.statuses()[0].id);
    const auto sent = server.requestsTo("/api/v1/statuses");
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].body, sent[1].body);
    EXPECT_EQ(sent[1].headers.value("idempotency-key"), "key-1");

    // A whole thread published again (after a crash) creates nothing new.
    const QList<Post> thread{Post::create(QStringLiteral("A")), Post::create(QStringLiteral("B"))};
    const auto first = waitForTask(service.postThread({thread, kScheduledPost}));
    const auto again = waitForTask(service.postThread({thread, kScheduledPost}));
    EXPECT_EQ(first, again);
    EXPECT_EQ(server.statuses().size(), 3u);
    // Resuming after the first post (the scheduler's retry) sends only the rest, still keyed.
    const auto rest = waitForTask(service.postThread({thread, kScheduledPost, 1, first[0].id}));
    EXPECT_EQ(rest, first.mid(1));
    EXPECT_EQ(server.statuses().size(), 3u);

    // Without a key a lost answer may hide a status: no second request.
    server.loseNextStatusAnswer();
    const MastodonError error = failureOf(service.post({QStringLiteral("Unkeyed")}));
    EXPECT_EQ(error.kind(), MastodonError::Kind::requestFailed);
    EXPECT_TRUE(error.message().startsWith(QStringLiteral("Request failed: ")));
    EXPECT_EQ(server.requestsTo("/api/v1/statuses").size(), 8u);
}

TEST_F(MastodonServiceTest, uploadsRetryTransientFailuresOnlyAndExplainTheRest)
{
    struct Case {
        const char* name;
        QList<FakeMastodonServer::Reply> answers; // in order; the built-in answer after them
        int attempts;
        QString message; // empty: succeeds
    };
    const auto html = [](int status) { return reply(status, "<html><body>Bad gateway</body></html>", "text/html"); };
    const Case cases[] = {
        {"503 twice, then fine", {reply(503, R"({"error":"busy"})"), reply(503, "")}, 3, {}},
        {"gateway errors three times", {html(502), html(504), html(502)}, 3,
         QStringLiteral("Failed to upload media (HTTP 502)")},
        {"503 three times", {reply(503, R"({"error":"busy"})"), reply(503, ""), reply(503, R"({"error":"busy"})")}, 3,
         QStringLiteral("Failed to upload media (HTTP 503) - Server temporarily unavailable: busy")},
        {"too large", {reply(413, R"({"error":"File is too big"})")}, 1,
         QStringLiteral("Failed to upload media (HTTP 413) - File too large: File is too big")},
        {"unprocessable", {reply(422, R"({"error":"Validation failed: File content type is invalid"})")}, 1,
         QStringLiteral("Failed to upload media (HTTP 422) - Invalid media format: Validation failed: File content type is invalid")},
        {"expired token", {reply(401, R"({"error":"The access token is invalid"})")}, 1,
         QStringLiteral("Failed to upload media (HTTP 401): The access token is invalid")},
        {"html error page", {html(500)}, 1, QStringLiteral("Failed to upload media (HTTP 500)")},
        {"rate limited", {reply(429, R"({"error":"Too many requests"})", "application/json",
                                {{"X-RateLimit-Reset", "2031-05-11T21:04:00.000Z"}})}, 1,
         QStringLiteral("Mastodon rate limit reached; try again after ")
             + QDateTime(QDate(2031, 5, 11), QTime(21, 4), Qt::UTC).toLocalTime().toString(Qt::ISODate)},
    };
    const PostMedia image = file(QStringLiteral("photo.png"), MediaType::image, 100);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const size_t before = server.requestsTo("/api/v1/media").size();
        answer("/api/v1/media", c.answers, 1);
        if (c.message.isEmpty()) {
            EXPECT_FALSE(waitForTask(service.uploadMedia(image)).isEmpty());
        } else {
            EXPECT_EQ(failureOf(service.uploadMedia(image)).message(), c.message);
        }
        const auto sent = server.requestsTo("/api/v1/media");
        EXPECT_EQ(int(sent.size() - before), c.attempts);
        // Every attempt sends the same bytes.
        EXPECT_EQ(sent.back().body, sent[before].body);
    }
}

TEST_F(MastodonServiceTest, mediaOverTheLimitIsRefusedBeforeAnyRequest)
{
    const MastodonError tooBig = failureOf(service.uploadMedia(file(QStringLiteral("big.mp4"), MediaType::video, 41000000)));
    EXPECT_EQ(tooBig.message(),
              QStringLiteral("Failed to upload media: File size 41000000 bytes exceeds limit of 40000000 bytes"));
    EXPECT_TRUE(server.requests().empty());

    // A thread with the oversized video sends nothing at all.
    const QList<Post> thread{Post::create(QStringLiteral("ok")),
                             Post::create(QStringLiteral("video"), {file(QStringLiteral("b.mp4"), MediaType::video, 40000001)})};
    EXPECT_EQ(failureOf(service.postThread({thread})).kind(), MastodonError::Kind::uploadFailed);
    EXPECT_TRUE(server.statuses().empty());
    EXPECT_TRUE(server.requestsTo("/api/v1/media").empty());

    server.setProcessingPolls(0);
    const QString id = waitForTask(service.uploadMedia(file(QStringLiteral("edge.mov"), MediaType::video, 40000000)));
    EXPECT_FALSE(id.isEmpty());
    EXPECT_EQ(server.requestsTo("/api/v1/media").back().fileData.size(), 40000000);
}

TEST_F(MastodonServiceTest, imagesArePngFirstThenJpegWithinTheInstanceLimit)
{
    MastodonInstanceLimits limits;
    limits.imageSizeLimit = 20;
    service.setLimits(limits);
    const PostMedia image = file(QStringLiteral("photo.jpg"), MediaType::image, 100);

    // A PNG over the instance's image limit: JPEG, asked to fit that limit.
    waitForTask(service.uploadMedia(image));
    ASSERT_EQ(images.requests.size(), 2);
    EXPECT_EQ(images.requests[1].format, ImageFormat::jpeg);
    EXPECT_EQ(images.requests[1].maxBytes, 20);
    EXPECT_EQ(server.requestsTo("/api/v1/media").back().fileType, "image/jpeg");

    // A PNG that cannot be made: JPEG too. Neither: nothing is sent.
    images.png = [](const ImageEncodeRequest&) -> QByteArray { throw MediaError::unreadableInput(QStringLiteral("cut short")); };
    waitForTask(service.uploadMedia(image));
    images.jpeg = images.png;
    const size_t sent = server.requestsTo("/api/v1/media").size();
    EXPECT_EQ(failureOf(service.uploadMedia(image)).message(), QStringLiteral("Invalid media format"));
    EXPECT_EQ(server.requestsTo("/api/v1/media").size(), sent);

    // A GIF keeps its animation: sent as it is.
    QFile gif(dir.filePath(QStringLiteral("anim.gif")));
    ASSERT_TRUE(gif.open(QIODevice::WriteOnly));
    gif.write("GIF89a-animated");
    gif.close();
    PostMedia animated = image;
    animated.originalPath = QUrl::fromLocalFile(gif.fileName());
    waitForTask(service.uploadMedia(animated));
    EXPECT_EQ(server.requestsTo("/api/v1/media").back().fileData, "GIF89a-animated");
    EXPECT_EQ(server.requestsTo("/api/v1/media").back().fileType, "image/gif");
}

TEST_F(MastodonServiceTest, aVideoThatNeverFinishesProcessingIsAttachedAfterThirtyPolls)
{
    server.setProcessingPolls(1000);
    const QList<Post> thread{Post::create(QStringLiteral("clip"), {file(QStringLiteral("c.webm"), MediaType::video, 10)})};
    waitForTask(service.postThread({thread}));
    const auto statuses = server.statuses();
    ASSERT_EQ(statuses.size(), 1u);
    ASSERT_EQ(statuses[0].mediaIds.size(), 1);
    EXPECT_EQ(server.requestsTo("/api/v1/media/" + statuses[0].mediaIds[0]).size(), 30u);

    // Failed polls are polled again, and a cancel stops the wait and posts nothing.
    auto polls = std::make_shared<int>(0);
    server.setOverride([this, polls](const FakeMastodonServer::Request& r) -> std::optional<FakeMastodonServer::Reply> {
        if (!r.path.startsWith("/api/v1/media/"))
            return std::nullopt;
        if (++*polls == 3)
            QMetaObject::invokeMethod(&service, [this] { service.cancel(); }, Qt::QueuedConnection);
        return reply(500, "<html>oops</html>", "text/html");
    });
    EXPECT_EQ(failureOf(service.postThread({thread})).message(), QStringLiteral("Publishing to Mastodon was cancelled"));
    EXPECT_EQ(*polls, 3);
    EXPECT_EQ(server.statuses().size(), 1u);

    // A cached service publishes again once the cancellation is reset.
    server.setOverride({});
    service.resetCancellation();
    server.setProcessingPolls(0);
    waitForTask(service.postThread({thread}));
    EXPECT_EQ(server.statuses().size(), 2u);
}

TEST_F(MastodonServiceTest, statusFailuresMapToTheirMessages)
{
    struct Case {
        const char* name;
        FakeMastodonServer::Reply answer;
        QString message;
    };
    const Case cases[] = {
        {"expired token", reply(401, R"({"error":"The access token is invalid"})"),
         QStringLiteral("Failed to authenticate with Mastodon")},
        {"server error", reply(500, "<html>Internal</html>", "text/html"),
         QStringLiteral("Mastodon server error: The instance might be experiencing issues. Please try again later.")},
        {"validation", reply(422, R"({"error":"Validation failed: Text character limit of 500 exceeded"})"),
         QStringLiteral("Failed to post to Mastodon")},
        {"html instead of json", reply(200, "<html>welcome</html>", "text/html"),
         QStringLiteral("Received invalid response from Mastodon")},
        {"json array", reply(200, "[]"), QStringLiteral("Received invalid response from Mastodon")},
        {"no id", reply(200, R"({"content":"hi"})"), QStringLiteral("Failed to post to Mastodon")},
        {"rate limited", reply(429, R"({"error":"Too many requests"})", "application/json",
                               {{"X-RateLimit-Reset", "2031-05-11T21:04:00.000Z"}}),
         QStringLiteral("Mastodon rate limit reached; try again after ")
             + QDateTime(QDate(2031, 5, 11), QTime(21, 4), Qt::UTC).toLocalTime().toString(Qt::ISODate)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        answer("/api/v1/statuses", {c.answer});
        const size_t before = server.requestsTo("/api/v1/statuses").size();
        const MastodonError error = failureOf(service.post({QStringLiteral("hi"), {}, {}, QStringLiteral("k")}));
        EXPECT_EQ(error.message(), c.message);
        // Nothing here is worth a second try: no busy retry on 429 either.
        EXPECT_EQ(server.requestsTo("/api/v1/statuses").size(), before + 1);
    }
    EXPECT_TRUE(server.statuses().empty());

    // 502 to 504 are retried under the key.
    answer("/api/v1/statuses", {reply(503, "")}, 2);
    waitForTask(service.post({QStringLiteral("after all"), {}, {}, QStringLiteral("k2")}));
    EXPECT_EQ(server.statuses().size(), 1u);
}

TEST_F(MastodonServiceTest, theInstanceDecidesHowLongAPostMayBe)
{
    const std::string long600(600, 'a');
    const QList<Post> thread{Post::create(QString::fromStdString(long600))};
    // Mastodon's shipped 500: refused before anything is sent.
    const MastodonError refused = failureOf(service.postThread({thread}));
    EXPECT_EQ(refused.message(), QStringLiteral("Post 1 is too long for this Mastodon instance (600 of 500 characters)"));
    EXPECT_TRUE(server.statuses().empty());

    // An instance that allows 5,000 takes it; an old one says so in v1 only.
    server.setInstanceDocument(Json(), {{"max_toot_chars", 5000}});
    QList<MastodonInstanceLimits> announced;
    QObject::connect(&service, &MastodonService::instanceLimitsFetched,
                     [&](const MastodonInstanceLimits& limits) { announced.append(limits); });
    waitForTask(service.postThread({thread}));
    EXPECT_EQ(server.statuses().size(), 1u);
    ASSERT_EQ(announced.size(), 1);
    EXPECT_EQ(announced[0].maxCharacters, 5000);
    EXPECT_EQ(server.requestsTo("/api/v2/instance").size(), 2u);

    // Neither document: the last known limits hold.
    server.setInstanceDocument(Json(), Json());
    waitForTask(service.postThread({thread}));
    EXPECT_EQ(server.statuses().size(), 2u);

    // More attachments than the instance takes: the first ones go.
    Json two = {{"configuration", {{"statuses", {{"max_characters", 500}, {"max_media_attachments", 2}}}}}};
    server.setInstanceDocument(two);
    QList<PostMedia> media;
    for (int i = 0; i < 3; ++i)
        media.append(file(QStringLiteral("p%1.png").arg(i), MediaType::image, 10));
    waitForTask(service.postThread({{Post::create(QStringLiteral("pics"), media)}}));
    EXPECT_EQ(server.statuses().back().mediaIds.size(), 2);
}

TEST_F(MastodonServiceTest, signInRequestsAreWrittenExactly)
{
    MastodonService fresh(network, {QUuid(), QStringLiteral("fake.example")}, images, {.baseUrl = server.baseUrl()});
    const MastodonApp app = waitForTask(fresh.registerApp());
    EXPECT_EQ(app.clientId, QString::fromLatin1(FakeMastodonServer::kClientId));
    const auto registration = server.requestsTo("/api/v1/apps").at(0);
    EXPECT_EQ(registration.headers.value("content-type"), "application/json");
    EXPECT_FALSE(registration.headers.contains("authorization"));
    EXPECT_EQ(registration.json(), Json::parse(R"({"client_name":"Quillo","redirect_uris":"quillo://oauth",
        "scopes":"write:media write:statuses read:accounts read:statuses","website":"https://quillo.app"})"));

    const QUrl authorize = fresh.authorizationUrl();
    EXPECT_EQ(authorize.path(), QStringLiteral("/oauth/authorize"));
    EXPECT_EQ(authorize.query(QUrl::FullyEncoded),
              QStringLiteral("client_id=fake-client-id&redirect_uri=quillo://oauth&response_type=code"
                             "&scope=write:media%20write:statuses%20read:accounts%20read:statuses"));

    // Extra parameters are ignored; the code is decoded once.
    QUrl callback(QStringLiteral("quillo://oauth"));
    callback.setQuery(QStringLiteral("state=x&code=the%20code%2F%2B%3D&extra=1"));
    waitForTask(fresh.handleCallback(callback));
    EXPECT_EQ(fresh.credentials().accessToken, QString::fromLatin1(FakeMastodonServer::kAccessToken));
    const auto token = server.requestsTo("/oauth/token").at(0);
    EXPECT_EQ(token.headers.value("content-type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(token.body, "client_id=fake-client-id&client_secret=fake%20client%20secret%2B%2F%3D"
                          "&redirect_uri=quillo%3A%2F%2Foauth&grant_type=authorization_code"
                          "&code=the%20code%2F%2B%3D&scope=write%3Amedia%20write%3Astatuses");

    EXPECT_EQ(failureOf(fresh.handleCallback(QUrl(QStringLiteral("quillo://oauth?state=x")))).message(),
              QStringLiteral("The request to Mastodon was invalid. Please try again."));
    EXPECT_EQ(failureOf(fresh.handleCallback(QUrl(QStringLiteral("quillo://oauth?error=access_denied")))).message(),
              QStringLiteral("Access to Mastodon API was denied. Please check if your credentials have the correct permissions."));
    EXPECT_EQ(server.requestsTo("/oauth/token").size(), 1u);
}

TEST_F(MastodonServiceTest, aStoredAccountGivesAServiceForItsInstanceThatReadsRecentPosts)
{
    SocialAccount account = SocialAccount::create(
        PlatformType::mastodon, QStringLiteral("quillo@fake.example"),
        {{QStringLiteral("instance"), QStringLiteral("fake.example")},
         {QStringLiteral("accessToken"), QString::fromLatin1(FakeMastodonServer::kAccessToken)},
         {QStringLiteral("maxCharacters"), QStringLiteral("5000")}},
        {});
    const auto direct = MastodonService::forAccount(network, account, images, Endpoints());
    EXPECT_EQ(direct->baseUrl(), QUrl(QStringLiteral("https://fake.example")));
    EXPECT_EQ(direct->limits().maxCharacters, 5000);

    const auto local = MastodonService::forAccount(
        network, account, images, Endpoints::parse(QStringLiteral("mastodon=") + server.baseUrl().toString()));
    EXPECT_EQ(waitForTask(local->verifyCredentials()).id, QString::fromLatin1(FakeMastodonServer::kAccountId));
    // An expired token says so, in the client's words.
    account.credentials.insert(QStringLiteral("accessToken"), QStringLiteral("expired-token"));
    const auto expired = MastodonService::forAccount(
        network, account, images, Endpoints::parse(QStringLiteral("mastodon=") + server.baseUrl().toString()));
    EXPECT_EQ(failureOf(expired->verifyCredentials()).message(), QStringLiteral("Failed to authenticate with Mastodon"));

    // Recent posts are the account's own, without markup.
    waitForTask(service.post({QStringLiteral("Hello <b>world</b> & more")}));
    const QList<RecentPost> recent = waitForTask(service.fetchRecentPosts(5));
    ASSERT_EQ(recent.size(), 1);
    EXPECT_EQ(recent[0].text, QStringLiteral("Hello world & more"));
    EXPECT_EQ(recent[0].createdAt, Timestamp::fromIso8601(u"2025-01-15T10:30:00.123Z"));
    EXPECT_EQ(recent[0].replyCount + recent[0].repostCount * 10 + recent[0].likeCount * 100, 321);
    const auto query = QUrlQuery(QString::fromLatin1(server.requestsTo("/api/v1/accounts/109/statuses").at(0).query));
    EXPECT_EQ(query.queryItemValue(QStringLiteral("limit")), QStringLiteral("5"));
    EXPECT_EQ(query.queryItemValue(QStringLiteral("exclude_replies")), QStringLiteral("true"));
    EXPECT_EQ(query.queryItemValue(QStringLiteral("exclude_reblogs")), QStringLiteral("true"));

    answer("/api/v1/accounts/109/statuses", {reply(503, "<html>down</html>", "text/html")});
    EXPECT_EQ(failureOf(service.fetchRecentPosts()).message(), QStringLiteral("Mastodon API Error - Status: 503"));
}
