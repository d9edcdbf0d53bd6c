// The command channel as users meet it: a headless instance, forwarder runs, second
// starts, auto-start, and clients that misbehave on the socket.
#include "support/running_instance.h"

#include "channel/command_channel_client.h"
#include "channel/command_channel_protocol.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/scheduler_service.h"
#include "support/sample_posts.h"

#include <QLocalSocket>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

namespace {

using namespace std::chrono_literals;

QString text(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

CommandChannelClient directClient(const AppPaths& paths)
{
    CommandChannelClient::Options options;
    options.autoStart = false;
    options.desktopOpener.clear();
    return CommandChannelClient(paths, options);
}

// Sends raw bytes on a fresh connection and returns the instance's answer once it holds
// `replies` lines (or the connection closed, or it went quiet).
QByteArray exchangeRaw(const AppPaths& paths, const QByteArray& bytes, int replies = 1)
{
    QLocalSocket socket;
    socket.connectToServer(paths.socketPath());
    EXPECT_TRUE(socket.waitForConnected(5000));
    socket.write(bytes);
    socket.waitForBytesWritten(5000);
    QByteArray answer;
    while (answer.count('\n') < replies && socket.waitForReadyRead(5000))
        answer += socket.readAll();
    return answer + socket.readAll();
}

} // namespace

TEST(CommandChannelProcess, ForwarderPrintsEachOutcomeAndExitsWithTheirStatus)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());

    struct Case {
        QStringList urls;
        int exitCode;
        QString expected;
    };
    const Case cases[] = {
        {{QStringLiteral("quillo://open")}, 0, QStringLiteral("✅ Activated app")},
        // Without windows, a command that only opens one says so.
        {{QStringLiteral("quillo://license?action=activate")}, 1,
         QStringLiteral("❌ No window in headless mode: the license window cannot be opened")},
        {{QStringLiteral("quillo://frobnicate")},
         1,
         QStringLiteral("❌ Unknown action: 'frobnicate'. Valid actions: compose, schedule, calendar, settings, "
                        "license, open, accounts")},
        // One failure among several URLs fails the run, and every URL is still carried out.
        {{QStringLiteral("quillo://nope"), QStringLiteral("quillo://open")}, 1, QStringLiteral("✅ Activated app")},
    };
    for (const Case& c : cases) {
        const auto run = instance.run(c.urls);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.urls.join(u' ').toStdString();
        EXPECT_TRUE(text(run.stderrText).contains(c.expected)) << run.stderrText.toStdString();
    }
}

// The instance answers a command before its background save; the forwarder waits for
// the save before it exits, so a script can read the store right after. A large store
// makes each save slow enough that a missing wait would show.
TEST(CommandChannelProcess, ForwardedChangesAreStoredWhenTheForwarderExits)
{
    RunningInstance instance;
    constexpr int kStored = 1500;
    {
        PreferenceStore preferences(instance.paths());
        ASSERT_TRUE(SchedulerService(preferences).savePosts(samplePosts(kStored)));
    }
    ASSERT_TRUE(instance.start());
    const auto stored = [&] {
        const auto document = PreferenceStore(instance.paths()).data(PreferenceKeys::ScheduledPosts);
        return document ? ScheduledPost::decodeList(*document) : QList<ScheduledPost>{};
    };

    auto run = instance.run({QStringLiteral("quillo://schedule?text=From%20a%20script&status=draft&stealthMode=true")});
    ASSERT_EQ(run.exitCode, 0) << run.stderrText.toStdString();
    QList<ScheduledPost> posts = stored();
    ASSERT_EQ(posts.size(), kStored + 1);
    EXPECT_EQ(posts.last().content[0].text, u"From a script");
    EXPECT_EQ(posts.last().status, PostStatus::draft);
    const QString id = posts.last().id.toString(QUuid::WithoutBraces);
    const QUuid firstId = posts.first().id;

    run = instance.run({QStringLiteral("quillo://scheduled?action=edit&id=") + id + QStringLiteral("&text=Edited&stealthMode=true")});
    ASSERT_EQ(run.exitCode, 0) << run.stderrText.toStdString();
    EXPECT_EQ(stored().last().content[0].text, u"Edited");

    run = instance.run({QStringLiteral("quillo://scheduled?action=delete&id=") + id + QStringLiteral("&stealthMode=true"),
                        QStringLiteral("quillo://scheduled?action=delete&id=") + firstId.toString(QUuid::WithoutBraces)
                            + QStringLiteral("&stealthMode=true")});
    ASSERT_EQ(run.exitCode, 0) << run.stderrText.toStdString();
    posts = stored();
    EXPECT_EQ(posts.size(), kStored - 1);
    EXPECT_NE(posts.first().id, firstId);
}

TEST(CommandChannelProcess, WrongSchemeIsRefusedWithItsMessage)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());
    const CommandOutcome outcome = directClient(instance.paths()).send(QStringLiteral("https://open"), 5s);
    EXPECT_EQ(outcome, CommandOutcome::failure(QStringLiteral("Invalid URL scheme. Expected 'quillo'")));
}

TEST(CommandChannelProcess, SecondStartHandsOverAndExits)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());

    // With a display, a second start asks the running instance to come to the front.
    const auto desktop = instance.run({}, {QStringLiteral("DISPLAY=:99")});
    EXPECT_EQ(desktop.exitCode, 0) << desktop.stderrText.toStdString();
    EXPECT_TRUE(RunningInstance::waitForChannel(instance.paths()));
    EXPECT_TRUE(text(instance.log()).contains(QStringLiteral("Processing URL: quillo://open")));

    const auto headless = instance.run({QStringLiteral("--headless")});
    EXPECT_EQ(headless.exitCode, 0);
    EXPECT_TRUE(text(headless.stderrText).contains(QStringLiteral("already running")));
    EXPECT_EQ(instance.process().process().state(), QProcess::Running);
}

TEST(CommandChannelProcess, ForwarderStartsAnInstanceWhenNoneRuns)
{
    TempHome home;
    RunningInstance::Run result;
    {
        QuilloProcess forwarder(home.path());
        forwarder.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
        forwarder.start({QStringLiteral("quillo://open?from=first")});
        result.exitCode = forwarder.waitForExit(30000).value_or(-1);
        result.stderrText = forwarder.allStderr();
    }
    EXPECT_EQ(result.exitCode, 0) << result.stderrText.toStdString();
    EXPECT_TRUE(text(result.stderrText).contains(QStringLiteral("✅ Activated app")));
    // The started instance keeps serving after the forwarder has gone.
    EXPECT_EQ(directClient(home.paths()).send(QStringLiteral("quillo://open"), 5s).ok, true);
    RunningInstance::stopLockHolder(home.paths());
}

TEST(CommandChannelProcess, InstanceRecoversFromAKilledPredecessor)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());
    ::kill(pid_t(instance.process().process().processId()), SIGKILL);
    instance.process().waitForExit();

    // The lock file and the socket file are both left behind.
    QuilloProcess successor(instance.home().path());
    successor.start({QStringLiteral("--headless")});
    ASSERT_TRUE(RunningInstance::waitForChannel(instance.paths()));
    EXPECT_TRUE(directClient(instance.paths()).send(QStringLiteral("quillo://open"), 5s).ok);
}

TEST(CommandChannelProcess, ConcurrentForwardersAreAllServed)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());

    constexpr int kClients = 8;
    std::vector<std::unique_ptr<QuilloProcess>> forwarders;
    for (int i = 0; i < kClients; ++i) {
        auto forwarder = std::make_unique<QuilloProcess>(instance.home().path());
        forwarder->environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
        forwarder->start({QStringLiteral("quillo://open?client=%1").arg(i)});
        forwarders.push_back(std::move(forwarder));
    }
    for (int i = 0; i < kClients; ++i) {
        EXPECT_EQ(forwarders[i]->waitForExit(30000), 0);
        EXPECT_TRUE(text(forwarders[i]->allStderr()).contains(QStringLiteral("✅ Activated app")));
        EXPECT_TRUE(text(instance.log()).contains(QStringLiteral("quillo://open?client=%1").arg(i)));
    }
}

TEST(CommandChannelProcess, MisbehavingClientsNeverStallTheInstance)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());
    const AppPaths paths = instance.paths();

    // A client that dies mid-frame: its half message is dropped, nothing runs.
    {
        QLocalSocket socket;
        socket.connectToServer(paths.socketPath());
        ASSERT_TRUE(socket.waitForConnected(5000));
        // This one stays connected with a half frame while others are served.
        QLocalSocket stalled;
        stalled.connectToServer(paths.socketPath());
        ASSERT_TRUE(stalled.waitForConnected(5000));
        stalled.write(R"({"version":1,"url":"quillo://lic)");
        stalled.waitForBytesWritten(5000);

        socket.write(R"({"version":1,"url":"quillo://license?action=half)");
        socket.waitForBytesWritten(5000);
        socket.abort();
        EXPECT_TRUE(directClient(paths).send(QStringLiteral("quillo://open"), 5s).ok);
    }

    struct Case {
        const char* name;
        QByteArray bytes;
        QString replyContains;
    };
    const Case cases[] = {
        {"not json", "\x01\x02garbage\xff\n", QStringLiteral("Malformed command message")},
        {"json but no url", R"({"version":1})" "\n", QStringLiteral("\\\"url\\\" must be")},
        {"wrong version", R"({"version":7,"url":"quillo://open"})" "\n", QStringLiteral("Unsupported")},
        {"oversized", QByteArray(CommandChannelProtocol::kMaxMessageBytes + 10, 'a'), QStringLiteral("size limit")},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(text(exchangeRaw(paths, c.bytes)).contains(c.replyContains)) << c.name;
        EXPECT_TRUE(directClient(paths).send(QStringLiteral("quillo://open"), 5s).ok) << c.name;
    }
    EXPECT_FALSE(text(instance.log()).contains(QStringLiteral("action=half")));

    // Several frames in one write, split at odd places, come back in order.
    const QByteArray two = CommandChannelProtocol::encodeRequest(QStringLiteral("quillo://first-one"))
        + CommandChannelProtocol::encodeRequest(QStringLiteral("quillo://second-one"));
    const QString answer = text(exchangeRaw(paths, two, 2));
    EXPECT_LT(answer.indexOf(QStringLiteral("'first-one'")), answer.indexOf(QStringLiteral("'second-one'")));
    EXPECT_GE(answer.indexOf(QStringLiteral("'first-one'")), 0);
}
