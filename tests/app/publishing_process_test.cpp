// A headless instance publishing scheduled threads to the fake X API, with its scheduler
// clock sped up sixty times (a minute a second), and killed with SIGKILL mid-publication.
#include "core/json.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "support/fake_x_server.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <QUrlQuery>

#include <gtest/gtest.h>

#include <csignal>
#include <mutex>

namespace {

class Publication : public ::testing::Test {
protected:
    void SetUp() override
    {
        PreferenceStore preferences(home.paths());
        AccountManager accounts(preferences);
        SocialAccount x = SocialAccount::create(
            PlatformType::x, QStringLiteral("quillo_user"),
            {{QStringLiteral("apiKey"), QString::fromLatin1(FakeXServer::kConsumerKey)},
             {QStringLiteral("apiSecret"), QString::fromLatin1(FakeXServer::kConsumerSecret)},
             {QStringLiteral("accessToken"), QString::fromLatin1(FakeXServer::kAccessToken)},
             {QStringLiteral("accessSecret"), QString::fromLatin1(FakeXServer::kAccessSecret)}},
            Timestamp::fromDateTime(QDateTime::currentDateTimeUtc()));
        x.isDefault = true;
        ASSERT_FALSE(accounts.addAccount(x));
        accounts.setPlatformEnabled(PlatformType::x, true);
        preferences.setValue(PreferenceKeys::MCPEnabled, true);
        preferences.sync();
        // Tweets the fake created (requests let through to it), in order.
        server.setOverride([this](const FakeXServer::Request& request) -> std::optional<FakeXServer::Reply> {
            std::lock_guard lock(mutex);
            if (!killAtPath.isEmpty() && request.path.contains(killAtPath)) {
                killAtPath.clear();
                ::kill(instancePid, SIGKILL);
                FakeXServer::Reply unavailable;
                unavailable.status = 503;
                return unavailable;
            }
            if (request.path != "/2/tweets")
                return std::nullopt;
            if (++tweetRequests == killAtTweet) {
                ::kill(instancePid, SIGKILL);
                FakeXServer::Reply unavailable;
                unavailable.status = 503;
                unavailable.body = "{}";
                return unavailable;
            }
            created.append(Json::parse(request.body.toStdString()));
            return std::nullopt;
        });
    }

    void TearDown() override
    {
        if (instance)
            instance->process().kill();
        instance.reset();
        RunningInstance::stopLockHolder(home.paths());
    }

    void startInstance()
    {
        instance = std::make_unique<QuilloProcess>(home.path());
        instance->environment().insert(QStringLiteral("QUILLO_ENDPOINTS"), QStringLiteral("x=") + server.baseUrl().toString());
        instance->environment().insert(QStringLiteral("QUILLO_CLOCK_SPEED"), QStringLiteral("60"));
        instance->environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
        instance->start({QStringLiteral("--headless")});
        ASSERT_TRUE(RunningInstance::waitForChannel(home.paths()));
        std::lock_guard lock(mutex);
        instancePid = pid_t(instance->process().processId());
    }

    // What an AI editor sees: the scheduled_list tool of `quillo --mcp-stdio`.
    Json scheduledList()
    {
        QuilloProcess mcp(home.path());
        mcp.start({QStringLiteral("--mcp-stdio")});
        mcp.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2024-11-05"}})");
        mcp.readLine();
        mcp.writeLine(R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"scheduled_list","arguments":{}}})");
        const Json reply = Json::parse(mcp.readLine().value_or(QByteArray()).toStdString(), nullptr, false);
        mcp.closeInput();
        mcp.waitForExit();
        if (!reply.is_object() || !reply.contains("result"))
            return Json();
        return Json::parse(reply["result"]["content"][0]["text"].get<std::string>(), nullptr, false);
    }

    int forward(const QString& url)
    {
        QuilloProcess forwarder(home.path());
        forwarder.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
        forwarder.start({url});
        return forwarder.waitForExit(30000).value_or(-1);
    }

    QUuid scheduleThread(const QStringList& texts, const QString& media = {})
    {
        Json thread = Json::array();
        for (const QString& text : texts)
            thread.push_back(text.toStdString());
        QUrlQuery query;
        query.addQueryItem(QStringLiteral("thread"), QString::fromStdString(thread.dump()));
        query.addQueryItem(QStringLiteral("platforms"), QStringLiteral("x"));
        query.addQueryItem(QStringLiteral("date"), QDateTime::currentDateTimeUtc().addSecs(20).toString(Qt::ISODate));
        query.addQueryItem(QStringLiteral("stealthMode"), QStringLiteral("true"));
        if (!media.isEmpty())
            query.addQueryItem(QStringLiteral("media"), media);
        EXPECT_EQ(forward(QStringLiteral("quillo://schedule?") + query.toString(QUrl::FullyEncoded)), 0);
        const QList<ScheduledPost> posts = storedPosts();
        return posts.isEmpty() ? QUuid() : posts.constLast().id;
    }

    QList<ScheduledPost> storedPosts() const
    {
        PreferenceStore preferences(home.paths());
        SchedulerService store(preferences);
        store.loadPosts();
        return store.scheduledPosts();
    }

    // Waits until the stored post has the status (the instance saves in the background).
    std::optional<ScheduledPost> waitForStatus(const QUuid& id, PostStatus status, int timeoutMs = 20000) const
    {
        const QDeadlineTimer deadline(timeoutMs);
        while (!deadline.hasExpired()) {
            for (const ScheduledPost& post : storedPosts()) {
                if (post.id == id && post.status == status)
                    return post;
            }
            QThread::msleep(100);
        }
        return std::nullopt;
    }

    bool waitForExit()
    {
        return instance->waitForExit(10000).has_value();
    }

    QStringList createdTexts()
    {
        std::lock_guard lock(mutex);
        QStringList texts;
        for (const Json& body : created)
            texts.append(QString::fromStdString(body["text"].get<std::string>()));
        return texts;
    }

    TempHome home;
    FakeXServer server;
    std::unique_ptr<QuilloProcess> instance;
    std::mutex mutex;
    pid_t instancePid = 0;
    int tweetRequests = 0;
    int killAtTweet = -1;
    QByteArray killAtPath;
    QList<Json> created;
};

} // namespace

TEST_F(Publication, AScheduledThreadGoesOutAsAReplyChainOnTheMinute)
{
    startInstance();
    const QUuid id = scheduleThread({QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")});
    ASSERT_FALSE(id.isNull());
    ASSERT_TRUE(waitForStatus(id, PostStatus::published)) << instance->allStderr().toStdString();
    ASSERT_EQ(createdTexts(), (QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")}));
    std::lock_guard lock(mutex);
    EXPECT_FALSE(created[0].contains("reply"));
    // The fake numbers its tweets from 1001.
    EXPECT_EQ(created[1]["reply"]["in_reply_to_tweet_id"], "1001");
    EXPECT_EQ(created[2]["reply"]["in_reply_to_tweet_id"], "1002");

    // Status and links are there for an AI editor to read back.
    const Json listed = scheduledList();
    ASSERT_TRUE(listed.is_array() && listed.size() == 1) << listed.dump();
    EXPECT_EQ(listed[0]["status"], "published");
    ASSERT_EQ(listed[0]["delivered"].size(), 1u);
    EXPECT_EQ(listed[0]["delivered"][0]["posts"].size(), 3u);
    EXPECT_EQ(listed[0]["delivered"][0]["posts"][0]["id"], "1001");
}

TEST_F(Publication, KilledMidThreadItIsSettledAsInterruptedAndARetryFinishesWithoutDuplicates)
{
    killAtTweet = 2; // the head post is out and recorded; the instance dies asking for the second
    startInstance();
    const QUuid id = scheduleThread({QStringLiteral("head"), QStringLiteral("middle"), QStringLiteral("tail")});
    ASSERT_TRUE(waitForExit());
    // The list is saved in the background, so the kill may come before `processing` reached
    // it; the delivery record written before the first request tells the next start either way.
    const PostStatus left = storedPosts().constLast().status;
    EXPECT_TRUE(left == PostStatus::processing || left == PostStatus::queued);

    startInstance();
    const auto failed = waitForStatus(id, PostStatus::failed);
    ASSERT_TRUE(failed);
    EXPECT_TRUE(failed->error->startsWith(QStringLiteral("Publishing was interrupted"))) << failed->error->toStdString();
    EXPECT_TRUE(failed->error->contains(QStringLiteral("post 1 of 3 delivered")));
    QThread::msleep(2500); // two more scheduler minutes: nothing is published unasked
    EXPECT_EQ(createdTexts(), QStringList{QStringLiteral("head")});

    EXPECT_EQ(forward(QStringLiteral("quillo://scheduled?action=retry&id=") + id.toString(QUuid::WithoutBraces)), 0);
    ASSERT_TRUE(waitForStatus(id, PostStatus::published));
    EXPECT_EQ(createdTexts(), (QStringList{QStringLiteral("head"), QStringLiteral("middle"), QStringLiteral("tail")}));
    std::lock_guard lock(mutex);
    EXPECT_EQ(created[1]["reply"]["in_reply_to_tweet_id"], "1001");
}

TEST_F(Publication, KilledBeforeAnythingWentOutARetrySendsTheWholeThreadOnce)
{
    killAtTweet = 1;
    startInstance();
    const QUuid id = scheduleThread({QStringLiteral("alpha"), QStringLiteral("beta")});
    ASSERT_TRUE(waitForExit());
    startInstance();
    const auto failed = waitForStatus(id, PostStatus::failed);
    ASSERT_TRUE(failed);
    EXPECT_TRUE(failed->error->contains(QStringLiteral("Nothing had been delivered yet")));
    EXPECT_EQ(forward(QStringLiteral("quillo://scheduled?action=retry&id=") + id.toString(QUuid::WithoutBraces)), 0);
    ASSERT_TRUE(waitForStatus(id, PostStatus::published));
    EXPECT_EQ(createdTexts(), (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
}

TEST_F(Publication, KilledDuringAMediaUploadARetryPostsTheThreadOnceWithItsImage)
{
    const QString image = home.path() + QStringLiteral("/photo.png");
    QFile file(image);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // A 1x1 PNG: what the upload carries does not matter here, that it is carried once does.
    file.write(QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg=="));
    file.close();
    killAtPath = "/append";
    startInstance();
    const QUuid id = scheduleThread({QStringLiteral("with a photo"), QStringLiteral("and more")}, image);
    ASSERT_TRUE(waitForExit());
    startInstance();
    ASSERT_TRUE(waitForStatus(id, PostStatus::failed));
    EXPECT_TRUE(createdTexts().isEmpty());
    EXPECT_EQ(forward(QStringLiteral("quillo://scheduled?action=retry&id=") + id.toString(QUuid::WithoutBraces)), 0);
    ASSERT_TRUE(waitForStatus(id, PostStatus::published)) << instance->allStderr().toStdString();
    EXPECT_EQ(createdTexts(), (QStringList{QStringLiteral("with a photo"), QStringLiteral("and more")}));
    std::lock_guard lock(mutex);
    EXPECT_EQ(created[0]["media"]["media_ids"].size(), 1u);
}
