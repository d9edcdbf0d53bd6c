// Publishes a thread to a real PDS (../shared/peers/bsky-pds, started by `make test-live`)
// and reads every record back with com.atproto.repo.getRecord/listRecords. Skipped when
// no PDS answers.
#include "platforms/bluesky/blue_sky_service.h"

#include "core/endpoints.h"
#include "core/system_clock.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "support/coro_wait.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QUrlQuery>

#include <gtest/gtest.h>
#include <qcoro/qcoronetworkreply.h>

#include <memory>

namespace {

constexpr char kDefaultPds[] = "http://127.0.0.1:2583";

class RefusingEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest) override
    {
        throw MediaError::workerFailed(QStringLiteral("the live test sends only small images"));
        co_return {};
    }
};

QCoro::Task<std::pair<int, Json>> getJson(QNetworkAccessManager& network, QUrl url)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(5000);
    std::unique_ptr<QNetworkReply> reply(network.get(request));
    co_await reply.get();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray body = reply->readAll();
    co_return std::pair{status, Json::parse(body.toStdString(), nullptr, false)};
}

QByteArray png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkYellow);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// The UTF-8 bytes a facet covers, cut with std::string from the stored text.
std::string covered(const Json& record, const Json& facet)
{
    const std::string text = record["text"];
    const size_t start = facet["index"]["byteStart"];
    const size_t end = facet["index"]["byteEnd"];
    return end <= text.size() && start <= end ? text.substr(start, end - start) : "<out of range>";
}

// JSON equality that ignores key order (the server writes keys in its own order).
nlohmann::json unordered(const Json& json)
{
    return nlohmann::json::parse(json.dump());
}

const Json* facetOf(const Json& record, const std::string& type)
{
    for (const Json& facet : record["facets"])
        if (facet["features"][0]["$type"] == type)
            return &facet;
    return nullptr;
}

class BlueSkyLiveTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const Endpoints endpoints = Endpoints::fromEnvironment(QProcessEnvironment::systemEnvironment());
        base = endpoints.baseFor(QStringLiteral("bluesky")).value_or(QUrl(QString::fromLatin1(kDefaultPds)));
        const auto [status, health] = waitForTask(getJson(network, xrpc(QStringLiteral("_health"))));
        if (status != 200)
            GTEST_SKIP() << "No Bluesky PDS answers at " << base.toString().toStdString()
                         << " (it needs Node.js and ../shared/peers/bsky-pds): run `make test-live` to start one.";
        account = SocialAccount::create(PlatformType::bluesky, QStringLiteral("alice.test"),
                                        {{CredentialKeys::handle, QStringLiteral("alice.test")},
                                         {CredentialKeys::appPassword, QStringLiteral("aaaa-bbbb-cccc-dddd")}},
                                        clock.now());
        // The product's own path from a stored account and QUILLO_ENDPOINTS to a client.
        service = BlueSkyService::forAccount(network, account, clock, encoder,
                                             Endpoints::parse(QStringLiteral("bluesky=") + base.toString()));
    }

    QUrl xrpc(const QString& method, const QUrlQuery& query = {}) const
    {
        QUrl url = base;
        url.setPath(QStringLiteral("/xrpc/") + method);
        url.setQuery(query);
        return url;
    }

    Json readRecord(const QString& uri)
    {
        const QStringList parts = uri.mid(5).split(u'/');
        QUrlQuery query{{QStringLiteral("repo"), parts[0]},
                        {QStringLiteral("collection"), parts[1]},
                        {QStringLiteral("rkey"), parts[2]}};
        const auto [status, json] = waitForTask(getJson(network, xrpc(QStringLiteral("com.atproto.repo.getRecord"), query)));
        EXPECT_EQ(status, 200) << uri.toStdString();
        EXPECT_EQ(json["uri"], uri.toStdString());
        return json;
    }

    QString didOf(const QString& handle)
    {
        const auto [status, json] = waitForTask(getJson(
            network, xrpc(QStringLiteral("com.atproto.identity.resolveHandle"), QUrlQuery{{QStringLiteral("handle"), handle}})));
        EXPECT_EQ(status, 200);
        return QString::fromStdString(json.value("did", ""));
    }

    QUrl base;
    QNetworkAccessManager network;
    SystemClock clock;
    RefusingEncoder encoder;
    SocialAccount account;
    std::unique_ptr<BlueSkyService> service;
    QTemporaryDir dir;
};

} // namespace

TEST_F(BlueSkyLiveTest, threadLandsWithExactFacetsEmbedsAndReplyChain)
{
    const BlueSkyRecordRef earlier = waitForTask(service->post(QStringLiteral("An earlier post, to be quoted")));

    const QString imagePath = dir.filePath(QStringLiteral("rocket.png"));
    QFile file(imagePath);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(png(120, 80));
    file.close();
    PostMedia rocket;
    rocket.id = QUuid::createUuid();
    rocket.originalPath = QUrl::fromLocalFile(imagePath);
    rocket.altText = QStringLiteral("A rocket on its pad");
    PostMedia noAlt = rocket;
    noAlt.altText.reset();

    QuoteContext quote;
    quote.setIdOn(PlatformType::bluesky, earlier.uri);
    QList<Post> thread{
        Post::create(QStringLiteral("Launch day 🚀 with @bob.test #quillo notes at quillo.example/launch/notes"), {rocket}),
        Post::create(QStringLiteral("Quoting the earlier one")),
        Post::create(QStringLiteral("Último: a picture and a quote ✨"), {noAlt}),
    };
    thread[1].quoteContext = quote;
    thread[2].quoteContext = quote;

    const BlueSkyThreadResult result = waitForTask(service->postThread(thread));
    ASSERT_EQ(result.posts.size(), 3);
    EXPECT_EQ(result.url.toString(),
              QStringLiteral("https://bsky.app/profile/alice.test/post/") + BlueSkyService::rkeyOf(result.posts[0].uri));

    const Json quoted = readRecord(earlier.uri);
    EXPECT_EQ(quoted["cid"], earlier.cid.toStdString());
    const Json first = readRecord(result.posts[0].uri);
    const Json second = readRecord(result.posts[1].uri);
    const Json third = readRecord(result.posts[2].uri);
    for (const auto& [read, posted] : {std::pair{&first, &result.posts[0]}, {&second, &result.posts[1]}, {&third, &result.posts[2]}})
        EXPECT_EQ((*read)["cid"], posted->cid.toStdString());

    // Facets, checked against the text as the server stored it.
    const Json& head = first["value"];
    EXPECT_EQ(head["text"], "Launch day 🚀 with @bob.test #quillo notes at quillo.example/launch/notes");
    const Json* mention = facetOf(head, "app.bsky.richtext.facet#mention");
    const Json* tag = facetOf(head, "app.bsky.richtext.facet#tag");
    const Json* link = facetOf(head, "app.bsky.richtext.facet#link");
    ASSERT_TRUE(mention && tag && link) << head.dump();
    EXPECT_EQ(covered(head, *mention), "@bob.test");
    EXPECT_EQ((*mention)["index"]["byteStart"], std::string("Launch day 🚀 with ").size());
    EXPECT_EQ((*mention)["features"][0]["did"], didOf(QStringLiteral("bob.test")).toStdString());
    EXPECT_EQ(covered(head, *tag), "#quillo");
    EXPECT_EQ((*tag)["features"][0]["tag"], "quillo");
    EXPECT_EQ(covered(head, *link), "quillo.example/launch/notes");
    EXPECT_EQ((*link)["features"][0]["uri"], "https://quillo.example/launch/notes");

    // Embeds.
    EXPECT_EQ(head["embed"]["$type"], "app.bsky.embed.images");
    const Json& image = head["embed"]["images"][0];
    EXPECT_EQ(image["alt"], "A rocket on its pad");
    EXPECT_EQ(unordered(image["aspectRatio"]), unordered({{"width", 120}, {"height", 80}}));
    EXPECT_EQ(image["image"]["mimeType"], "image/png");
    EXPECT_TRUE(image["image"]["ref"].contains("$link"));
    const Json quotedRef = {{"uri", earlier.uri.toStdString()}, {"cid", earlier.cid.toStdString()}};
    EXPECT_EQ(unordered(second["value"]["embed"]), unordered({{"$type", "app.bsky.embed.record"}, {"record", quotedRef}}));
    const Json& withMedia = third["value"]["embed"];
    EXPECT_EQ(withMedia["$type"], "app.bsky.embed.recordWithMedia");
    EXPECT_EQ(unordered(withMedia["record"]["record"]), unordered(quotedRef));
    EXPECT_EQ(withMedia["media"]["$type"], "app.bsky.embed.images");
    EXPECT_EQ(withMedia["media"]["images"][0]["alt"], "");

    // The reply chain.
    EXPECT_FALSE(head.contains("reply"));
    const Json root = result.posts[0].toJson();
    EXPECT_EQ(unordered(second["value"]["reply"]), unordered({{"root", root}, {"parent", root}}));
    EXPECT_EQ(unordered(third["value"]["reply"]), unordered({{"root", root}, {"parent", result.posts[1].toJson()}}));

    // listRecords names them all.
    const auto [status, listed] = waitForTask(getJson(
        network, xrpc(QStringLiteral("com.atproto.repo.listRecords"),
                      QUrlQuery{{QStringLiteral("repo"), QStringLiteral("alice.test")},
                                {QStringLiteral("collection"), QStringLiteral("app.bsky.feed.post")},
                                {QStringLiteral("limit"), QStringLiteral("100")}})));
    ASSERT_EQ(status, 200);
    QStringList uris;
    for (const Json& record : listed["records"])
        uris.append(QString::fromStdString(record["uri"]));
    for (const BlueSkyRecordRef& posted : result.posts)
        EXPECT_TRUE(uris.contains(posted.uri)) << posted.uri.toStdString();
    EXPECT_TRUE(uris.contains(earlier.uri));

    // A reply to the last post, by URI only, keeps the thread's root.
    const BlueSkyRecordRef reply = waitForTask(service->post(QStringLiteral("and one more"), {}, {}, result.posts[2].uri));
    EXPECT_EQ(unordered(readRecord(reply.uri)["value"]["reply"]),
              unordered({{"root", root}, {"parent", result.posts[2].toJson()}}));
}

TEST_F(BlueSkyLiveTest, realServerAnswersAreClassified)
{
    BlueSkyService wrong(network, QStringLiteral("alice.test"), QStringLiteral("not-the-password"), clock, encoder,
                         BlueSkyHosts{base, QUrl(QStringLiteral("https://bsky.app"))});
    try {
        waitForTask(wrong.authenticate());
        ADD_FAILURE() << "signed in with a wrong password";
    } catch (const BlueSkyError& error) {
        EXPECT_EQ(error.kind(), BlueSkyError::Kind::invalidCredentials);
    }
    EXPECT_TRUE(waitForTask(service->getSession()) == false); // not signed in yet
    waitForTask(service->authenticate());
    EXPECT_TRUE(waitForTask(service->getSession()));
    EXPECT_EQ(waitForTask(service->resolveHandle(QStringLiteral("@bob.test"))), didOf(QStringLiteral("bob.test")));
    try {
        waitForTask(service->resolveHandle(QStringLiteral("nobody.test")));
        ADD_FAILURE() << "resolved a handle that does not exist";
    } catch (const BlueSkyError& error) {
        EXPECT_EQ(error.detail(), QStringLiteral("Failed to resolve DID for handle nobody.test"));
    }
}
