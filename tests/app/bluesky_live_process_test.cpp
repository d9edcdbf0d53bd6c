// A thread scheduled through a headless instance lands on a real Bluesky PDS as a reply
// chain with its facets. Needs the reference PDS (`make test-live` starts one); without it
// the test is skipped.
#include "core/json.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcessEnvironment>
#include <QThread>
#include <QTimer>
#include <QEventLoop>
#include <QUrlQuery>

#include <gtest/gtest.h>

namespace {

QUrl pdsBase()
{
    // The "bluesky=URL" pair of QUILLO_ENDPOINTS, else the PDS's own default port.
    for (const QString& pair : qEnvironmentVariable("QUILLO_ENDPOINTS").split(QLatin1Char(','))) {
        if (pair.startsWith(QStringLiteral("bluesky=")))
            return QUrl(pair.mid(8));
    }
    return QUrl(QStringLiteral("http://127.0.0.1:2583"));
}

Json getJson(const QUrl& url)
{
    QNetworkAccessManager network;
    QNetworkReply* reply = network.get(QNetworkRequest(url));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    loop.exec();
    const Json json = reply->isFinished() && reply->error() == QNetworkReply::NoError
        ? Json::parse(reply->readAll().toStdString(), nullptr, false)
        : Json();
    reply->deleteLater();
    return json;
}

QUrl xrpc(const QString& method, const QUrlQuery& query)
{
    QUrl url = pdsBase();
    url.setPath(QStringLiteral("/xrpc/") + method);
    url.setQuery(query);
    return url;
}

} // namespace

TEST(BlueSkyLive, AScheduledThreadLandsOnARealPdsAsAReplyChain)
{
    if (getJson(xrpc(QStringLiteral("_health"), {})).is_null())
        GTEST_SKIP() << "No Bluesky PDS answers at " << pdsBase().toString().toStdString()
                     << ": run `make test-live` to start one.";
    TempHome home;
    {
        PreferenceStore preferences(home.paths());
        AccountManager accounts(preferences);
        SocialAccount alice = SocialAccount::create(PlatformType::bluesky, QStringLiteral("alice.test"),
                                                    {{QStringLiteral("handle"), QStringLiteral("alice.test")},
                                                     {QStringLiteral("appPassword"), QStringLiteral("aaaa-bbbb-cccc-dddd")}},
                                                    Timestamp::fromDateTime(QDateTime::currentDateTimeUtc()));
        alice.isDefault = true;
        ASSERT_FALSE(accounts.addAccount(alice));
        accounts.setPlatformEnabled(PlatformType::bluesky, true);
        preferences.sync();
    }
    const QString marker = QString::number(QDateTime::currentMSecsSinceEpoch());
    QuilloProcess instance(home.path());
    instance.environment().insert(QStringLiteral("QUILLO_ENDPOINTS"), QStringLiteral("bluesky=") + pdsBase().toString());
    instance.environment().insert(QStringLiteral("QUILLO_CLOCK_SPEED"), QStringLiteral("60"));
    instance.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    instance.start({QStringLiteral("--headless")});
    ASSERT_TRUE(RunningInstance::waitForChannel(home.paths()));

    const QString headText = QStringLiteral("Scheduled 🎉 hello @bob.test #quillo ") + marker;
    Json thread = Json::array({headText.toStdString(), "second part", "third part"});
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("thread"), QString::fromStdString(thread.dump()));
    query.addQueryItem(QStringLiteral("platforms"), QStringLiteral("bluesky"));
    query.addQueryItem(QStringLiteral("date"), QDateTime::currentDateTimeUtc().addSecs(20).toString(Qt::ISODate));
    query.addQueryItem(QStringLiteral("stealthMode"), QStringLiteral("true"));
    QuilloProcess forwarder(home.path());
    forwarder.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    forwarder.start({QStringLiteral("quillo://schedule?") + query.toString(QUrl::FullyEncoded)});
    ASSERT_EQ(forwarder.waitForExit(30000), 0);

    bool published = false;
    const QDeadlineTimer deadline(40000);
    while (!published && !deadline.hasExpired()) {
        PreferenceStore preferences(home.paths());
        SchedulerService store(preferences);
        store.loadPosts();
        published = !store.scheduledPosts().isEmpty() && store.scheduledPosts().first().status == PostStatus::published;
        QThread::msleep(200);
    }
    ASSERT_TRUE(published) << instance.allStderr().toStdString();

    // Read the thread back from the server, newest first.
    const Json listed = getJson(xrpc(QStringLiteral("com.atproto.repo.listRecords"),
                                     QUrlQuery{{QStringLiteral("repo"), QStringLiteral("alice.test")},
                                               {QStringLiteral("collection"), QStringLiteral("app.bsky.feed.post")},
                                               {QStringLiteral("limit"), QStringLiteral("20")}}));
    const Json records = listed.value("records", Json::array());
    const Json* head = nullptr;
    const Json* second = nullptr;
    const Json* third = nullptr;
    for (const Json& record : records) {
        const std::string text = record["value"].value("text", "");
        if (text.find(marker.toStdString()) != std::string::npos)
            head = &record;
    }
    ASSERT_TRUE(head) << listed.dump();
    for (const Json& record : records) {
        const Json reply = record["value"].value("reply", Json::object());
        if (!reply.contains("root") || reply["root"]["uri"] != (*head)["uri"])
            continue;
        if (record["value"]["text"] == "second part")
            second = &record;
        if (record["value"]["text"] == "third part")
            third = &record;
    }
    ASSERT_TRUE(second && third);
    EXPECT_EQ((*second)["value"]["reply"]["parent"]["uri"], (*head)["uri"]);
    EXPECT_EQ((*third)["value"]["reply"]["parent"]["uri"], (*second)["uri"]);
    // The mention and the tag are facets over their exact bytes in the stored text.
    const std::string text = (*head)["value"]["text"];
    int found = 0;
    for (const Json& facet : (*head)["value"].value("facets", Json::array())) {
        const std::string covered = text.substr(facet["index"]["byteStart"].get<size_t>(),
                                                facet["index"]["byteEnd"].get<size_t>() - facet["index"]["byteStart"].get<size_t>());
        const std::string type = facet["features"][0]["$type"];
        if (type == "app.bsky.richtext.facet#mention" && covered == "@bob.test")
            ++found;
        if (type == "app.bsky.richtext.facet#tag" && covered == "#quillo")
            ++found;
    }
    EXPECT_EQ(found, 2) << (*head).dump();
    instance.process().terminate();
    instance.waitForExit();
}
