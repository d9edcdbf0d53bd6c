#include "platforms/bluesky/blue_sky_service.h"

#include "media/image_encoder.h"
#include "media/media_error.h"
#include "support/coro_wait.h"
#include "support/fake_xrpc_server.h"
#include "support/manual_clock.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class FakeImageEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        requests.append(request);
        if (failure)
            throw *failure;
        co_return QByteArray(output);
    }

    QList<ImageEncodeRequest> requests;
    QByteArray output;
    std::optional<MediaError> failure;
};

// Sends requests for hosts under ".example" to the fake server, so posts can link to
// ordinary-looking web pages (a loopback address is no link to the rich-text pass).
class RedirectingNetwork : public QNetworkAccessManager {
public:
    explicit RedirectingNetwork(QUrl target)
        : m_target(std::move(target))
    {
    }

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& original, QIODevice* data) override
    {
        QNetworkRequest request(original);
        QUrl url = request.url();
        if (url.host().endsWith(QStringLiteral(".example"))) {
            url.setScheme(m_target.scheme());
            url.setHost(m_target.host());
            url.setPort(m_target.port());
            request.setUrl(url);
        }
        return QNetworkAccessManager::createRequest(op, request, data);
    }

private:
    QUrl m_target;
};

// Every log line written while a test runs.
QStringList& capturedLog()
{
    static QStringList lines;
    return lines;
}

void captureMessage(QtMsgType, const QMessageLogContext&, const QString& message)
{
    capturedLog().append(message);
}

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray plainImage(int width, int height, const char* format)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkMagenta);
    return encoded(image, format);
}

// The UTF-8 bytes a facet covers, cut with std::string.
std::string covered(const Json& record, const Json& facet)
{
    const std::string text = record["text"];
    const size_t start = facet["index"]["byteStart"];
    const size_t end = facet["index"]["byteEnd"];
    return end <= text.size() && start <= end ? text.substr(start, end - start) : "<out of range>";
}

FakeXrpcServer::Reply xrpcReply(int status, const QByteArray& body, QMap<QByteArray, QByteArray> headers = {})
{
    return FakeXrpcServer::Reply{status, body, "application/json", std::move(headers), 0};
}

class BlueSkyServiceTest : public ::testing::Test {
protected:
    BlueSkyServiceTest()
        : service(network, QString::fromLatin1(FakeXrpcServer::kHandle), QString::fromLatin1(FakeXrpcServer::kAppPassword),
                  clock, encoder, {server.baseUrl(), QUrl(QStringLiteral("https://bsky.example"))}, options())
    {
        capturedLog().clear();
        QLoggingCategory::setFilterRules(QStringLiteral("quillo.bluesky.debug=true"));
        m_previousHandler = qInstallMessageHandler(captureMessage);
    }

    // No app password or token reaches a log line, in any test.
    ~BlueSkyServiceTest() override
    {
        qInstallMessageHandler(m_previousHandler);
        for (const QString& line : std::as_const(capturedLog())) {
            EXPECT_FALSE(line.contains(QString::fromLatin1(FakeXrpcServer::kAppPassword))) << line.toStdString();
            for (const QByteArray& token : server.issuedTokens())
                EXPECT_FALSE(line.contains(QString::fromLatin1(token))) << line.toStdString();
        }
    }

    // Answers one XRPC method with `reply`, always or only the first `times` times.
    void answer(const QByteArray& method, FakeXrpcServer::Reply reply, int times = -1)
    {
        auto left = std::make_shared<int>(times);
        server.setOverride([=](const FakeXrpcServer::Request& r) -> std::optional<FakeXrpcServer::Reply> {
            if (!r.path.endsWith(method) || *left == 0)
                return std::nullopt;
            --*left;
            return reply;
        });
    }

    static BlueSkyServiceOptions options()
    {
        BlueSkyServiceOptions o;
        o.timeoutMs = 10000;
        o.retryUnit = 1ms;
        o.linkPageMaxBytes = 64 * 1024;
        o.linkFetchTimeoutMs = 1500;
        return o;
    }

    QString writeFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }

    PostMedia image(const QString& path, std::optional<QString> alt = std::nullopt)
    {
        PostMedia media;
        media.id = QUuid::createUuid();
        media.type = MediaType::image;
        media.originalPath = QUrl::fromLocalFile(path);
        media.altText = std::move(alt);
        return media;
    }

    static QString pageUrl(const QByteArray& path) { return QStringLiteral("https://news.example") + QString::fromLatin1(path); }

    template <typename T>
    BlueSkyError failureOf(QCoro::Task<T>&& task)
    {
        try {
            waitForTask(std::move(task));
        } catch (const BlueSkyError& error) {
            return error;
        }
        ADD_FAILURE() << "no BlueSkyError";
        return BlueSkyError(BlueSkyError::Kind::invalidResponse);
    }

    // The record stored for an at:// URI.
    Json recordAt(const QString& uri) const
    {
        for (const auto& [stored, record] : server.posts())
            if (stored == uri)
                return record;
        ADD_FAILURE() << "no record " << uri.toStdString();
        return {};
    }

    FakeXrpcServer server;
    RedirectingNetwork network{server.baseUrl()};
    ManualClock clock;
    FakeImageEncoder encoder;
    QTemporaryDir dir;
    BlueSkyService service;

private:
    QtMessageHandler m_previousHandler = nullptr;
};

} // namespace

TEST_F(BlueSkyServiceTest, publishesAThreadWithFacetsImagesAQuoteAndALinkCard)
{
    const QString quoted = server.seedPost({{"$type", "app.bsky.feed.post"}, {"text", "an earlier post"}});
    const QByteArray png = plainImage(64, 48, "PNG");
    const QByteArray jpeg = plainImage(30, 70, "JPEG");
    const QByteArray thumb = plainImage(8, 8, "PNG");
    server.setPage("/article", {200,
                                R"(<html><head><meta property="og:title" content="The article">
                                   <meta property="og:description" content="What it says">
                                   <meta property="og:image" content="/img/thumb.png"></head></html>)",
                                "text/html; charset=utf-8", {}, 0});
    server.setPage("/img/thumb.png", {200, thumb, "image/png", {}, 0});

    QList<Post> thread{
        Post::create(QStringLiteral("Hi 👋 @bob.test and @ghost.test #launch see quillo.example/docs"),
                     {image(writeFile(QStringLiteral("chart.png"), png), QStringLiteral("A chart")),
                      image(writeFile(QStringLiteral("photo.jpg"), jpeg))}),
        Post::create(QStringLiteral("Quoting this")),
        Post::create(QStringLiteral("More at ") + pageUrl("/article")),
    };
    QuoteContext quote;
    quote.setIdOn(PlatformType::bluesky, quoted);
    thread[1].quoteContext = quote;

    QList<int> postedIndexes;
    const BlueSkyThreadResult result = waitForTask(
        service.postThread(thread, {}, [&](int index, const BlueSkyRecordRef&) { postedIndexes.append(index); }));

    ASSERT_EQ(result.posts.size(), 3);
    EXPECT_EQ(postedIndexes, (QList<int>{0, 1, 2}));
    EXPECT_EQ(result.url.toString(), QStringLiteral("https://bsky.example/profile/alice.test/post/") + BlueSkyService::rkeyOf(result.posts[0].uri));
    EXPECT_EQ(server.sessionsCreated(), 1);
    // The quote needs its CID; the replies' references are known without asking.
    EXPECT_EQ(server.requestsTo("getRecord").size(), 1u);

    const Json head = recordAt(result.posts[0].uri);
    EXPECT_EQ(head["createdAt"], clock.now().toIso8601().toStdString());
    EXPECT_FALSE(head.contains("reply"));
    const Json& facets = head["facets"];
    ASSERT_EQ(facets.size(), 3u) << facets.dump();
    EXPECT_EQ(covered(head, facets[0]), "quillo.example/docs");
    EXPECT_EQ(facets[0]["features"][0]["uri"], "https://quillo.example/docs");
    EXPECT_EQ(covered(head, facets[1]), "#launch");
    EXPECT_EQ(facets[1]["features"][0]["tag"], "launch");
    EXPECT_EQ(covered(head, facets[2]), "@bob.test");
    EXPECT_EQ(facets[2]["index"]["byteStart"], 8); // "Hi " and a four-byte emoji and a space
    EXPECT_EQ(facets[2]["features"][0], Json({{"$type", "app.bsky.richtext.facet#mention"}, {"did", "did:plc:bob"}}));

    const Json& images = head["embed"]["images"];
    EXPECT_EQ(head["embed"]["$type"], "app.bsky.embed.images");
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(images[0]["alt"], "A chart");
    EXPECT_EQ(images[1]["alt"], ""); // present even when there is no alt text
    EXPECT_EQ(images[0]["aspectRatio"], Json({{"width", 64}, {"height", 48}}));
    EXPECT_EQ(images[1]["aspectRatio"], Json({{"width", 30}, {"height", 70}}));
    EXPECT_EQ(server.blob(QString::fromStdString(images[0]["image"]["ref"]["$link"])), png);
    EXPECT_EQ(server.blob(QString::fromStdString(images[1]["image"]["ref"]["$link"])), jpeg);
    EXPECT_TRUE(encoder.requests.isEmpty()); // small PNG and JPEG go as they are
    EXPECT_EQ(images[1]["image"]["mimeType"], "image/jpeg");

    const Json second = recordAt(result.posts[1].uri);
    EXPECT_EQ(second["reply"], Json({{"root", result.posts[0].toJson()}, {"parent", result.posts[0].toJson()}}));
    EXPECT_EQ(second["embed"], Json({{"$type", "app.bsky.embed.record"}, {"record", {{"uri", quoted.toStdString()}, {"cid", "bafyrecord1"}}}}));

    const Json third = recordAt(result.posts[2].uri);
    EXPECT_EQ(third["reply"], Json({{"root", result.posts[0].toJson()}, {"parent", result.posts[1].toJson()}}));
    const Json& external = third["embed"]["external"];
    EXPECT_EQ(third["embed"]["$type"], "app.bsky.embed.external");
    EXPECT_EQ(external["uri"], pageUrl("/article").toStdString());
    EXPECT_EQ(external["title"], "The article");
    EXPECT_EQ(external["description"], "What it says");
    EXPECT_EQ(server.blob(QString::fromStdString(external["thumb"]["ref"]["$link"])), thumb);
    EXPECT_EQ(server.requestsTo("/article").at(0).headers.value("user-agent"), QByteArray(BlueSkyService::kLinkCardUserAgent));
}

TEST_F(BlueSkyServiceTest, repliesKeepTheirThreadsRootAndResumeAThread)
{
    const QString top = server.seedPost({{"$type", "app.bsky.feed.post"}, {"text", "top"}});
    const BlueSkyRecordRef first = waitForTask(service.post(QStringLiteral("first reply"), {}, {}, top));
    const BlueSkyRecordRef second = waitForTask(service.post(QStringLiteral("second reply"), {}, {}, first.uri));
    const BlueSkyRecordRef topRef{top, QStringLiteral("bafyrecord1")};
    EXPECT_EQ(recordAt(first.uri)["reply"], Json({{"root", topRef.toJson()}, {"parent", topRef.toJson()}}));
    EXPECT_EQ(recordAt(second.uri)["reply"], Json({{"root", topRef.toJson()}, {"parent", first.toJson()}}));

    // A thread cut short is finished later from where it stopped.
    BlueSkyRecordRef posted;
    bool cancelledOnce = false;
    const QList<Post> thread{Post::create(QStringLiteral("one")), Post::create(QStringLiteral("two")),
                             Post::create(QStringLiteral("three"))};
    const BlueSkyError stopped = failureOf(service.postThread(thread, {}, [&](int, const BlueSkyRecordRef& ref) {
        posted = ref;
        if (!cancelledOnce) {
            cancelledOnce = true;
            service.cancel();
        }
    }));
    EXPECT_EQ(stopped.kind(), BlueSkyError::Kind::cancelled);
    ASSERT_TRUE(posted.isValid());
    const size_t before = server.posts().size();
    service.resetCancellation();
    const BlueSkyThreadResult rest =
        waitForTask(service.postThread(thread.mid(1), {}, {}, BlueSkyReplyRef{posted, posted}));
    EXPECT_EQ(server.posts().size(), before + 2);
    EXPECT_EQ(recordAt(rest.posts[1].uri)["reply"], Json({{"root", posted.toJson()}, {"parent", rest.posts[0].toJson()}}));
    EXPECT_EQ(BlueSkyService::rkeyOf(rest.url.toString()), BlueSkyService::rkeyOf(posted.uri));
}

TEST_F(BlueSkyServiceTest, refusesWhatTheNetworkWouldRefuseBeforeAnyRequest)
{
    const QString png = writeFile(QStringLiteral("a.png"), plainImage(4, 4, "PNG"));
    PostMedia video;
    video.type = MediaType::video;
    video.originalPath = QUrl::fromLocalFile(writeFile(QStringLiteral("clip.mov"), "not really a movie"));
    PostMedia missing = image(png);
    missing.isMissing = true;
    struct Case {
        const char* name;
        QString text;
        QList<PostMedia> media;
        QString quote;
        BlueSkyError::Kind kind;
        QString message;
    };
    const Case cases[] = {
        {"five images", QStringLiteral("x"), {image(png), image(png), image(png), image(png), image(png)}, {},
         BlueSkyError::Kind::invalidMedia, QStringLiteral("at most 4 images, this one has 5")},
        {"301 characters", QString(301, u'a'), {}, {}, BlueSkyError::Kind::postFailed, QStringLiteral("301 characters long")},
        {"quote that does not split", QStringLiteral("x"), {}, QStringLiteral("at://did:plc:a/app.bsky.feed.post"),
         BlueSkyError::Kind::postFailed, QStringLiteral("Invalid quote URI format")},
        {"quote that is no at URI", QStringLiteral("x"), {}, QStringLiteral("https://bsky.app/profile/a/post/b"),
         BlueSkyError::Kind::postFailed, QStringLiteral("Invalid quote URI format")},
        {"a video that is not MP4", QStringLiteral("x"), {video}, {}, BlueSkyError::Kind::invalidMedia, QStringLiteral("MP4")},
        {"images and a video", QStringLiteral("x"), {image(png), video}, {}, BlueSkyError::Kind::invalidMedia, QStringLiteral("not both")},
        {"a missing file", QStringLiteral("x"), {missing}, {}, BlueSkyError::Kind::invalidMedia, QStringLiteral("missing")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        // The bad post is the third of a thread: nothing of the thread may go out.
        QList<Post> thread{Post::create(QStringLiteral("fine")), Post::create(QStringLiteral("fine too")),
                           Post::create(c.text, c.media)};
        if (!c.quote.isEmpty()) {
            QuoteContext quote;
            quote.setIdOn(PlatformType::bluesky, c.quote);
            thread[2].quoteContext = quote;
        }
        const BlueSkyError error = failureOf(service.postThread(thread));
        EXPECT_EQ(error.kind(), c.kind);
        EXPECT_TRUE(error.message().contains(c.message)) << error.message().toStdString();
    }
    const BlueSkyError reply = failureOf(service.post(QStringLiteral("x"), {}, {}, QStringLiteral("at://only/two")));
    EXPECT_EQ(reply.detail(), QStringLiteral("Invalid reply URI format"));
    // 300 characters, emoji included, are fine (the counter is not the server's judge here).
    EXPECT_NO_THROW(BlueSkyService::validate(QString(299, u'a') + QStringLiteral("👍🏽"), {}));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(BlueSkyServiceTest, signsInAgainOnceWhenTheTokenExpiresAndNamesNoSecret)
{
    waitForTask(service.post(QStringLiteral("one")));
    server.expireTokens();
    waitForTask(service.post(QStringLiteral("two")));
    EXPECT_EQ(server.sessionsCreated(), 2);
    EXPECT_EQ(server.requestsTo("createRecord").size(), 3u);
    EXPECT_EQ(server.posts().size(), 2u);

    // A token refused again right after a new sign-in is not retried forever.
    answer("createRecord", xrpcReply(400, R"({"error":"ExpiredToken","message":"Token has expired"})"));
    const BlueSkyError expired = failureOf(service.post(QStringLiteral("three")));
    EXPECT_EQ(expired.kind(), BlueSkyError::Kind::authenticationError);
    EXPECT_EQ(expired.detail(), QStringLiteral("Token expired"));
    EXPECT_EQ(server.requestsTo("createRecord").size(), 5u);
    EXPECT_EQ(server.sessionsCreated(), 3);

    // No error text or log line names a password or a token.
    answer("createRecord", xrpcReply(401, R"({"error":"InvalidToken","message":"Bad token"})"));
    const BlueSkyError refused = failureOf(service.post(QStringLiteral("four")));
    BlueSkyService wrong(network, QStringLiteral("alice.test"), QStringLiteral("wrong-pass-9999"), clock, encoder,
                         {server.baseUrl(), {}}, options());
    QStringList texts{failureOf(wrong.post(QStringLiteral("x"))).message(), refused.message(),
                            QString::fromUtf8(refused.what()), expired.message(), QString::fromUtf8(expired.what())};
    texts += capturedLog();
    QStringList secrets{QString::fromLatin1(FakeXrpcServer::kAppPassword), QStringLiteral("wrong-pass-9999")};
    for (const QByteArray& token : server.issuedTokens())
        secrets.append(QString::fromLatin1(token));
    for (const QString& text : std::as_const(texts))
        for (const QString& secret : std::as_const(secrets))
            EXPECT_FALSE(text.contains(secret)) << text.toStdString();
}

TEST_F(BlueSkyServiceTest, classifiesFailureAnswers)
{
    struct Case {
        const char* name;
        FakeXrpcServer::Reply reply;
        BlueSkyError::Kind kind;
        QString detail;
    };
    const Case cases[] = {
        {"rate limited", xrpcReply(429, R"({"error":"RateLimitExceeded"})", {{"RateLimit-Reset", "1767225600"}}),
         BlueSkyError::Kind::rateLimited, {}},
        {"bad request", xrpcReply(400, R"({"error":"InvalidRequest","message":"Invalid app.bsky.feed.post record"})"),
         BlueSkyError::Kind::postFailed, QStringLiteral("Bad request: Invalid app.bsky.feed.post record")},
        {"forbidden", xrpcReply(403, R"({"error":"Forbidden","message":"Account is takendown"})"),
         BlueSkyError::Kind::postFailed, QStringLiteral("Forbidden: Account is takendown")},
        {"not found", xrpcReply(404, R"({"error":"NotFound","message":"nope"})"), BlueSkyError::Kind::postFailed,
         QStringLiteral("Not found: nope")},
        {"unauthorized", xrpcReply(401, R"({"error":"InvalidToken","message":"Bad token scope"})"),
         BlueSkyError::Kind::authenticationError, QStringLiteral("Unauthorized")},
        {"server error page", FakeXrpcServer::Reply{502, "<html>Bad Gateway</html>", "text/html", {}, 0},
         BlueSkyError::Kind::postFailed, QStringLiteral("<html>Bad Gateway</html>")},
        {"empty error", xrpcReply(500, ""), BlueSkyError::Kind::postFailed, QStringLiteral("No response data")},
        {"success that is not JSON", xrpcReply(200, "<<not json"), BlueSkyError::Kind::postFailed,
         QStringLiteral("Invalid response format")},
        {"success without cid", xrpcReply(200, R"({"uri":"at://did:plc:alice/app.bsky.feed.post/x"})"),
         BlueSkyError::Kind::postFailed, QStringLiteral("Invalid response format")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        answer("createRecord", c.reply);
        const BlueSkyError error = failureOf(service.post(QStringLiteral("hello")));
        EXPECT_EQ(error.kind(), c.kind);
        EXPECT_EQ(error.detail(), c.detail);
        EXPECT_EQ(error.isServerError(), c.reply.status >= 500);
    }
    ASSERT_TRUE(service.rateLimitReset().has_value());
    EXPECT_EQ(service.rateLimitReset()->unixSeconds(), 1767225600.0);

    BlueSkyService wrongPassword(network, QStringLiteral("@alice.test"), QStringLiteral("wrong"), clock, encoder,
                                 {server.baseUrl(), {}}, options());
    EXPECT_EQ(failureOf(wrongPassword.authenticate()).kind(), BlueSkyError::Kind::invalidCredentials);

    BlueSkyService unreachable(network, QStringLiteral("alice.test"), QStringLiteral("x"), clock, encoder,
                               {QUrl(QStringLiteral("http://127.0.0.1:1")), {}}, options());
    EXPECT_EQ(failureOf(unreachable.authenticate()).kind(), BlueSkyError::Kind::requestFailed);
    EXPECT_FALSE(waitForTask(unreachable.getSession()));
}

TEST_F(BlueSkyServiceTest, reencodesImagesOverTheBlobLimit)
{
    QImage noise(700, 700, QImage::Format_RGB32);
    for (int y = 0; y < noise.height(); ++y)
        for (int x = 0; x < noise.width(); ++x)
            noise.setPixel(x, y, QRandomGenerator::global()->generate());
    const QByteArray big = encoded(noise, "PNG");
    ASSERT_GT(big.size(), BlueSkyService::kMaxImageBytes);
    const QString path = writeFile(QStringLiteral("big.png"), big);
    encoder.output = plainImage(70, 70, "JPEG");

    const BlueSkyRecordRef posted = waitForTask(service.post(QStringLiteral("big"), {image(path, QStringLiteral("noise"))}));
    ASSERT_EQ(encoder.requests.size(), 1);
    EXPECT_EQ(encoder.requests[0].input, path);
    EXPECT_EQ(encoder.requests[0].format, ImageFormat::jpeg);
    EXPECT_EQ(encoder.requests[0].maxBytes, std::optional<qint64>(1000000));
    const Json entry = recordAt(posted.uri)["embed"]["images"][0];
    EXPECT_EQ(server.blob(QString::fromStdString(entry["image"]["ref"]["$link"])), encoder.output);
    EXPECT_EQ(entry["image"]["mimeType"], "image/jpeg");
    EXPECT_EQ(entry["aspectRatio"], Json({{"width", 70}, {"height", 70}}));

    // A format the network cannot show goes through the encoder even when small.
    const QString bmp = writeFile(QStringLiteral("small.bmp"), plainImage(5, 5, "BMP"));
    waitForTask(service.post(QStringLiteral("bmp"), {image(bmp)}));
    EXPECT_EQ(encoder.requests.size(), 2);

    const size_t records = server.posts().size();
    encoder.failure = MediaError::tooLarge(QStringLiteral("still 1.4 MB at the lowest quality"));
    const BlueSkyError failed = failureOf(service.post(QStringLiteral("again"), {image(path)}));
    EXPECT_EQ(failed.kind(), BlueSkyError::Kind::invalidMedia);
    encoder.failure.reset();
    encoder.output = big; // an encoder that did not keep its promise
    EXPECT_EQ(failureOf(service.post(QStringLiteral("again"), {image(path)})).kind(), BlueSkyError::Kind::invalidMedia);
    EXPECT_EQ(server.posts().size(), records);
}

TEST_F(BlueSkyServiceTest, hostileLinkPagesDropOnlyTheCardOrTheThumbnail)
{
    const QByteArray head = R"(<html><head><meta property="og:title" content="Title"><meta property="og:image" content="/thumb">)";
    struct Case {
        const char* name;
        FakeXrpcServer::Reply page;
        std::optional<FakeXrpcServer::Reply> thumb;
        bool card;
        bool thumbnail;
    };
    const Case cases[] = {
        {"huge page: its head is enough", {200, head + QByteArray(5 * 1024 * 1024, 'x'), "text/html", {}, 0},
         FakeXrpcServer::Reply{200, plainImage(4, 4, "PNG"), "image/png", {}, 0}, true, true},
        {"page that trickles in", {200, head + QByteArray(4000, ' '), "text/html", {}, 20}, std::nullopt, false, false},
        {"missing page", {404, "gone", "text/html", {}, 0}, std::nullopt, false, false},
        {"a PDF, not a page", {200, "%PDF-1.7 <title>not a title</title>", "application/pdf", {}, 0}, std::nullopt, false, false},
        {"thumbnail that is a web page", {200, head, "text/html", {}, 0},
         FakeXrpcServer::Reply{200, "<html>login</html>", "text/html", {}, 0}, true, false},
        {"thumbnail over the blob limit", {200, head, "text/html", {}, 0},
         FakeXrpcServer::Reply{200, QByteArray(1000001, 'p'), "image/png", {}, 0}, true, false},
        {"thumbnail that never arrives", {200, head, "text/html", {}, 0},
         FakeXrpcServer::Reply{200, QByteArray(4000, 'p'), "image/png", {}, 20}, true, false},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QByteArray path = "/page" + QByteArray::number(++n);
        QByteArray page = c.page.body;
        page.replace("/thumb", QByteArray(path + "/thumb"));
        FakeXrpcServer::Reply reply = c.page;
        reply.body = page;
        server.setPage(path, reply);
        if (c.thumb)
            server.setPage(QByteArray(path + "/thumb"), *c.thumb);
        const BlueSkyRecordRef posted = waitForTask(service.post(QStringLiteral("read ") + pageUrl(path)));
        const Json record = recordAt(posted.uri);
        EXPECT_EQ(record.contains("embed"), c.card);
        if (c.card) {
            EXPECT_EQ(record["embed"]["external"]["title"], "Title");
            EXPECT_EQ(record["embed"]["external"]["description"], "");
            EXPECT_EQ(record["embed"]["external"].contains("thumb"), c.thumbnail);
        }
        // The link itself stays linked.
        EXPECT_EQ(record["facets"][0]["features"][0]["uri"], pageUrl(path).toStdString());
    }

    // A post with a link and an image carries the image, and no card is fetched.
    const size_t fetched = server.requestsTo("/page").size();
    const QString png = writeFile(QStringLiteral("a.png"), plainImage(4, 4, "PNG"));
    const BlueSkyRecordRef withImage = waitForTask(service.post(QStringLiteral("see ") + pageUrl("/page1"), {image(png)}));
    EXPECT_EQ(recordAt(withImage.uri)["embed"]["$type"], "app.bsky.embed.images");
    EXPECT_EQ(server.requestsTo("/page").size(), fetched);
}

TEST_F(BlueSkyServiceTest, fetchesRecentPostsAndRetriesExpiredTokens)
{
    server.seedPost({{"text", "older"}, {"createdAt", "2025-01-15T10:30:00.123Z"}});
    server.seedPost({{"text", "a reply"}, {"createdAt", "2025-01-15T11:00:00Z"}, {"reply", Json::object()}});
    server.seedPost({{"text", "newer"}, {"createdAt", "2025-01-16T08:00:00Z"}});
    server.seedPost({{"text", "odd date"}, {"createdAt", "yesterday"}});

    const QList<RecentPost> posts = waitForTask(service.fetchRecentPosts());
    ASSERT_EQ(posts.size(), 3);
    EXPECT_EQ(posts[0].text, QStringLiteral("odd date"));
    EXPECT_EQ(posts[0].createdAt, clock.now());
    EXPECT_EQ(posts[1].text, QStringLiteral("newer"));
    EXPECT_EQ(posts[2].createdAt, Timestamp::fromIso8601(u"2025-01-15T10:30:00.123Z").value());
    EXPECT_EQ(std::tuple(posts[2].replyCount, posts[2].repostCount, posts[2].likeCount), std::tuple(1, 2, 3));
    const auto feedRequest = server.requestsTo("getAuthorFeed").at(0);
    EXPECT_EQ(feedRequest.query.value("actor"), "alice.test");
    EXPECT_EQ(feedRequest.query.value("limit"), "100");
    EXPECT_EQ(feedRequest.query.value("filter"), "posts_no_replies");

    // Two expiries, then an answer.
    answer("getAuthorFeed", xrpcReply(400, R"({"error":"ExpiredToken","message":"Token has expired"})"), 2);
    EXPECT_EQ(waitForTask(service.fetchRecentPosts()).size(), 3);

    // Expired every time: three new sessions, then the end.
    const int sessions = server.sessionsCreated();
    const size_t feeds = server.requestsTo("getAuthorFeed").size();
    answer("getAuthorFeed", xrpcReply(401, R"({"error":"AuthenticationRequired","message":"Unauthorized"})"));
    const BlueSkyError error = failureOf(service.fetchRecentPosts());
    EXPECT_EQ(error.kind(), BlueSkyError::Kind::authenticationError);
    EXPECT_EQ(error.detail(), QStringLiteral("Failed to authenticate after 3 attempts"));
    EXPECT_EQ(server.requestsTo("getAuthorFeed").size(), feeds + 4);
    EXPECT_EQ(server.sessionsCreated(), sessions + 3);

    // Malformed answers are an error, not a crash.
    answer("getAuthorFeed", xrpcReply(200, R"({"feed":"not a list"})"));
    EXPECT_EQ(failureOf(service.fetchRecentPosts()).kind(), BlueSkyError::Kind::invalidResponse);
}

TEST_F(BlueSkyServiceTest, streamsAnMp4VideoAsABlobAndQuotesWithIt)
{
    const QString quoted = server.seedPost({{"$type", "app.bsky.feed.post"}, {"text", "quoted"}});
    QByteArray movie(3 * 1024 * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < movie.size(); ++i)
        movie[i] = char(i * 31 / 7);
    PostMedia video;
    video.type = MediaType::video;
    video.originalPath = QUrl::fromLocalFile(writeFile(QStringLiteral("Clip.MP4"), movie));
    video.altText = QStringLiteral("A short clip");

    const BlueSkyRecordRef posted = waitForTask(service.post(QStringLiteral("watch"), {video}, quoted));
    const Json embed = recordAt(posted.uri)["embed"];
    EXPECT_EQ(embed["$type"], "app.bsky.embed.recordWithMedia");
    EXPECT_EQ(embed["record"]["record"]["uri"], quoted.toStdString());
    EXPECT_EQ(embed["media"]["$type"], "app.bsky.embed.video");
    EXPECT_EQ(embed["media"]["alt"], "A short clip");
    EXPECT_EQ(embed["media"]["video"]["mimeType"], "video/mp4");
    EXPECT_EQ(server.blob(QString::fromStdString(embed["media"]["video"]["ref"]["$link"])), movie);

    // An upload the server refuses is an upload failure, whatever the server's words.
    answer("uploadBlob", xrpcReply(413, R"({"error":"PayloadTooLarge","message":"request entity too large"})"));
    const BlueSkyError refused = failureOf(service.post(QStringLiteral("again"), {video}));
    EXPECT_EQ(refused.kind(), BlueSkyError::Kind::uploadFailed);
    EXPECT_EQ(refused.status(), 413);
}
