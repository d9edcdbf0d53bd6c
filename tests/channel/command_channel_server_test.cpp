// The server's queue, in-process: commands from several connections run one at a time,
// in arrival order, even when a command suspends.
#include "channel/command_channel_client.h"
#include "channel/command_channel_protocol.h"
#include "channel/command_channel_server.h"
#include "support/temp_home.h"

#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <qcoro/qcorotimer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

TEST(CommandChannelServer, RunsCommandsOneAtATimeInArrivalOrder)
{
    TempHome home;
    QStringList started;
    int running = 0;
    int mostRunning = 0;
    CommandChannelServer server(home.paths(), [&](QString url) -> QCoro::Task<CommandOutcome> {
        started << url;
        mostRunning = std::max(mostRunning, ++running);
        QTimer timer;
        timer.start(20ms);
        co_await timer;
        --running;
        co_return CommandOutcome::success(url);
    });
    ASSERT_EQ(server.start(), CommandChannelServer::StartResult::listening);

    // A second server on the same paths finds the first one holding the lock.
    CommandChannelServer second(home.paths(), [](QString) -> QCoro::Task<CommandOutcome> { co_return {}; });
    EXPECT_EQ(second.start(), CommandChannelServer::StartResult::alreadyRunning);

    QSignalSpy finished(&server, &CommandChannelServer::commandFinished);
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    QStringList sent;
    for (int i = 0; i < 4; ++i) {
        auto socket = std::make_unique<QLocalSocket>();
        socket->connectToServer(home.paths().socketPath());
        ASSERT_TRUE(socket->waitForConnected(5000));
        const QString url = QStringLiteral("quillo://license?action=%1").arg(i);
        const QByteArray frame = CommandChannelProtocol::encodeRequest(url);
        // The first half now, the rest after the next client: frames arrive interleaved.
        socket->write(frame.left(5));
        socket->flush();
        QCoreApplication::processEvents();
        socket->write(frame.mid(5));
        socket->flush();
        QCoreApplication::processEvents();
        sent << url;
        clients.push_back(std::move(socket));
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return finished.size() == 4; }, 10000));
    EXPECT_EQ(started, sent);
    EXPECT_EQ(mostRunning, 1);

    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return clients[i]->canReadLine(); }, 5000));
        // Keep-alives may come first.
        std::variant<CommandOutcome, CommandChannelProtocol::KeepAlive, CommandChannelProtocol::DecodeError> reply;
        do {
            ASSERT_TRUE(QTest::qWaitFor([&] { return clients[i]->canReadLine(); }, 5000));
            reply = CommandChannelProtocol::decodeReply(clients[i]->readLine().chopped(1));
        } while (std::holds_alternative<CommandChannelProtocol::KeepAlive>(reply));
        EXPECT_EQ(std::get<CommandOutcome>(reply), CommandOutcome::success(sent[i]));
    }
}

// Commands are answered before their changes are stored; a sync request waits in the
// same queue, so its answer comes after every earlier command and after the store settled.
TEST(CommandChannelServer, SyncIsAnsweredAfterEarlierCommandsHaveSettled)
{
    TempHome home;
    QStringList events;
    bool saved = true;
    CommandChannelServer server(
        home.paths(),
        [&](QString url) -> QCoro::Task<CommandOutcome> {
            QTimer timer;
            timer.start(30ms);
            co_await timer;
            events << url;
            co_return CommandOutcome::success();
        },
        [&] {
            events << QStringLiteral("settled");
            return saved;
        });
    ASSERT_EQ(server.start(), CommandChannelServer::StartResult::listening);

    QLocalSocket command;
    QLocalSocket sync;
    command.connectToServer(home.paths().socketPath());
    sync.connectToServer(home.paths().socketPath());
    ASSERT_TRUE(command.waitForConnected(5000) && sync.waitForConnected(5000));
    command.write(CommandChannelProtocol::encodeRequest(QStringLiteral("quillo://open")));
    command.flush();
    QCoreApplication::processEvents();
    sync.write(CommandChannelProtocol::encodeSyncRequest());
    sync.flush();

    ASSERT_TRUE(QTest::qWaitFor([&] { return sync.canReadLine(); }, 5000));
    EXPECT_EQ(std::get<CommandOutcome>(CommandChannelProtocol::decodeReply(sync.readLine().chopped(1))),
              CommandOutcome::success(QStringLiteral("Stored")));
    EXPECT_EQ(events, (QStringList{QStringLiteral("quillo://open"), QStringLiteral("settled")}));

    // A save that failed is reported to the client that waits for it.
    saved = false;
    sync.write(CommandChannelProtocol::encodeSyncRequest());
    sync.flush();
    ASSERT_TRUE(QTest::qWaitFor([&] { return sync.canReadLine(); }, 5000));
    EXPECT_EQ(std::get<CommandOutcome>(CommandChannelProtocol::decodeReply(sync.readLine().chopped(1))),
              CommandOutcome::failure(QStringLiteral("Quillo could not save the changes; see its log")));
}

// A command that outlasts the client's reply timeout, and one queued behind it: both
// clients hear keep-alives meanwhile and get the real outcome, never "did not answer".
TEST(CommandChannelServer, KeepAlivesHoldClientsThatWaitLongerThanTheirTimeout)
{
    TempHome home;
    CommandChannelServer server(home.paths(), [](QString url) -> QCoro::Task<CommandOutcome> {
        QTimer timer;
        timer.start(700ms);
        co_await timer;
        co_return CommandOutcome::success(url);
    });
    server.setKeepAliveInterval(20ms);
    ASSERT_EQ(server.start(), CommandChannelServer::StartResult::listening);

    CommandChannelClient::Options options;
    options.autoStart = false;
    options.desktopOpener.clear();
    std::vector<CommandOutcome> outcomes(2);
    std::atomic<int> answered{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 2; ++i) {
        clients.emplace_back([&, i] {
            CommandChannelClient client(home.paths(), options);
            outcomes[size_t(i)] = client.send(QStringLiteral("quillo://slow?n=%1").arg(i), 200ms);
            ++answered;
        });
    }
    // The server's replies go out from this thread's event loop: keep it running until
    // both clients have theirs.
    const bool bothAnswered = QTest::qWaitFor([&] { return answered == 2; }, 20000);
    for (std::thread& client : clients)
        client.join();
    ASSERT_TRUE(bothAnswered);
    for (const CommandOutcome& outcome : outcomes) {
        EXPECT_TRUE(outcome.ok) << outcome.message.toStdString();
        EXPECT_TRUE(outcome.message.startsWith(QStringLiteral("quillo://slow"))) << outcome.message.toStdString();
    }
}
