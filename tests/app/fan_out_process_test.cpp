// One scheduled thread from a headless instance to every network at once, against the
// fake X, Mastodon and Bluesky servers: platforms in turn, accounts in turn, each a reply
// chain, and an account that fails keeps its failure to itself.
#include "core/json.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "support/fake_mastodon_server.h"
#include "support/fake_x_server.h"
#include "support/fake_xrpc_server.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <QUrlQuery>

#include <gtest/gtest.h>

namespace {

SocialAccount xAccount(const QString& name, const char* apiKey)
{
    return SocialAccount::create(PlatformType::x, name,
                                 {{QStringLiteral("apiKey"), QString::fromLatin1(apiKey)},
                                  {QStringLiteral("apiSecret"), QString::fromLatin1(FakeXServer::kConsumerSecret)},
                                  {QStringLiteral("accessToken"), QString::fromLatin1(FakeXServer::kAccessToken)},
                                  {QStringLiteral("accessSecret"), QString::fromLatin1(FakeXServer::kAccessSecret)}},
                                 Timestamp::fromDateTime(QDateTime::currentDateTimeUtc()));
}

} // namespace

TEST(FanOut, EveryNetworkInTurnAndAFailingAccountFailsAlone)
{
    TempHome home;
    FakeXServer x;
    FakeMastodonServer mastodon;
    FakeXrpcServer bluesky;
    {
        PreferenceStore preferences(home.paths());
        AccountManager accounts(preferences);
        // An app X no longer knows: X refuses this account, and only it.
        ASSERT_FALSE(accounts.addAccount(xAccount(QStringLiteral("revoked"), "revoked-consumer-key")));
        ASSERT_FALSE(accounts.addAccount(xAccount(QStringLiteral("quillo_user"), FakeXServer::kConsumerKey)));
        ASSERT_FALSE(accounts.addAccount(SocialAccount::create(
            PlatformType::mastodon, QStringLiteral("quillo@example.social"),
            {{QStringLiteral("instance"), QStringLiteral("example.social")},
             {QStringLiteral("clientId"), QString::fromLatin1(FakeMastodonServer::kClientId)},
             {QStringLiteral("clientSecret"), QString::fromLatin1(FakeMastodonServer::kClientSecret)},
             {QStringLiteral("accessToken"), QString::fromLatin1(FakeMastodonServer::kAccessToken)}},
            Timestamp::fromDateTime(QDateTime::currentDateTimeUtc()))));
        ASSERT_FALSE(accounts.addAccount(SocialAccount::create(
            PlatformType::bluesky, QString::fromLatin1(FakeXrpcServer::kHandle),
            {{QStringLiteral("handle"), QString::fromLatin1(FakeXrpcServer::kHandle)},
             {QStringLiteral("appPassword"), QString::fromLatin1(FakeXrpcServer::kAppPassword)}},
            Timestamp::fromDateTime(QDateTime::currentDateTimeUtc()))));
        for (const PlatformType platform : allPlatformTypes())
            accounts.setPlatformEnabled(platform, true);
        preferences.sync();
    }

    QuilloProcess instance(home.path());
    instance.environment().insert(QStringLiteral("QUILLO_ENDPOINTS"),
                                  QStringLiteral("x=%1,mastodon=%2,bluesky=%3")
                                      .arg(x.baseUrl().toString(), mastodon.baseUrl().toString(), bluesky.baseUrl().toString()));
    instance.environment().insert(QStringLiteral("QUILLO_CLOCK_SPEED"), QStringLiteral("60"));
    instance.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    instance.start({QStringLiteral("--headless")});
    ASSERT_TRUE(RunningInstance::waitForChannel(home.paths()));

    QUrlQuery query;
    query.addQueryItem(QStringLiteral("thread"), QStringLiteral(R"(["first", "second"])"));
    query.addQueryItem(QStringLiteral("platforms"), QStringLiteral("x,bluesky,mastodon"));
    query.addQueryItem(QStringLiteral("accounts"), QStringLiteral("all"));
    query.addQueryItem(QStringLiteral("date"), QDateTime::currentDateTimeUtc().addSecs(20).toString(Qt::ISODate));
    query.addQueryItem(QStringLiteral("stealthMode"), QStringLiteral("true"));
    QuilloProcess forwarder(home.path());
    forwarder.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    forwarder.start({QStringLiteral("quillo://schedule?") + query.toString(QUrl::FullyEncoded)});
    ASSERT_EQ(forwarder.waitForExit(30000), 0);

    std::optional<ScheduledPost> done;
    const QDeadlineTimer deadline(30000);
    while (!done && !deadline.hasExpired()) {
        PreferenceStore preferences(home.paths());
        SchedulerService store(preferences);
        store.loadPosts();
        if (!store.scheduledPosts().isEmpty() && store.scheduledPosts().first().status == PostStatus::failed)
            done = store.scheduledPosts().first();
        QThread::msleep(100);
    }
    ASSERT_TRUE(done) << instance.allStderr().toStdString();
    EXPECT_EQ(done->error->section(QLatin1Char('\n'), 0, 0).left(17), QStringLiteral("X posting error: "));

    // Each network holds the thread once, as a reply chain.
    const auto statuses = mastodon.statuses();
    ASSERT_EQ(statuses.size(), 2u);
    EXPECT_EQ(statuses[1].inReplyToId, statuses[0].id);
    const auto records = bluesky.posts();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(QString::fromStdString(records[1].second["reply"]["parent"]["uri"].get<std::string>()), records[0].first);
    std::vector<Json> tweets;
    for (const FakeXServer::Request& request : x.requestsTo("/2/tweets")) {
        if (request.signatureValid)
            tweets.push_back(Json::parse(request.body.toStdString()));
    }
    ASSERT_EQ(tweets.size(), 2u);
    EXPECT_EQ(tweets[1]["reply"]["in_reply_to_tweet_id"], "1001");

    // The status lines, in the order the platforms and accounts were taken.
    QFile logFile(home.paths().logFile());
    ASSERT_TRUE(logFile.open(QIODevice::ReadOnly));
    const QByteArray log = logFile.readAll();
    qsizetype at = 0;
    for (const char* line : {"Publishing to all active accounts...", "Publishing to Mastodon (1/1)...", "Publishing to Mastodon Complete",
                             "Publishing to BlueSky (1/1)...", "Publishing to BlueSky Complete", "Publishing to all X accounts...",
                             "Publishing to X (1/2)...", "Error posting to X account revoked: ", "Publishing to X (2/2)...",
                             "Publishing to X Complete", "Publishing Complete"}) {
        const qsizetype found = log.indexOf(line, at);
        EXPECT_GE(found, 0) << "missing or out of order: " << line;
        at = std::max(at, found);
    }
    instance.process().terminate();
    instance.waitForExit();
}
