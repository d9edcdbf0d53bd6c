#pragma once

#include "channel/command_outcome.h"
#include "core/app_paths.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>

class QLocalServer;
class QLocalSocket;
class QLockFile;

// The instance's end of the command channel: a user-only local socket in the runtime
// folder, guarded by a lock file so only one instance per user serves it.
//
// Clients send framed requests (see CommandChannelProtocol); complete frames from every
// connection go into one queue and are carried out one at a time in arrival order.
// A connection that sends garbage gets an error reply; one that sends an oversized
// frame or stalls mid-frame is closed. Neither holds up anybody else.
class CommandChannelServer : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<QCoro::Task<CommandOutcome>(QString url)>;
    // Blocks until what earlier commands changed is stored (answers sync requests);
    // false when storing it failed.
    using Settle = std::function<bool()>;
    enum class StartResult { listening, alreadyRunning, failed };

    static constexpr std::chrono::milliseconds kPartialFrameTimeout{10000};
    static constexpr std::size_t kMaxQueuedCommands = 1024;
    // Well inside the client's reply timeout.
    static constexpr std::chrono::milliseconds kKeepAliveInterval{5000};

    CommandChannelServer(AppPaths paths, Handler handler, Settle settle = {}, QObject* parent = nullptr);
    ~CommandChannelServer() override;

    // Takes the instance lock (recovering one left by a dead process), replaces a stale
    // socket file and listens. AlreadyRunning when a live instance holds the lock.
    StartResult start();
    QString errorString() const { return m_error; }
    QString lockFilePath() const;
    void setKeepAliveInterval(std::chrono::milliseconds interval);

Q_SIGNALS:
    // Emitted after a command's reply was handed to its connection (or dropped because
    // the client had gone).
    void commandFinished(const QString& url, const CommandOutcome& outcome);

private:
    struct Connection {
        QByteArray buffer;
        std::unique_ptr<class QTimer> stallTimer;
    };
    struct Pending {
        QPointer<QLocalSocket> socket;
        // Empty for a sync request.
        QString url;
    };

    void acceptConnections();
    void readFrames(QLocalSocket* socket);
    void handleFrame(QLocalSocket* socket, const QByteArray& frame);
    void drop(QLocalSocket* socket, const QString& reason);
    void forget(QLocalSocket* socket);
    void reply(QLocalSocket* socket, const CommandOutcome& outcome);
    void enqueue(QLocalSocket* socket, QString url);
    QCoro::Task<> drain();
    // Tells every client whose command is queued or running that it is not forgotten.
    void sendKeepAlives();

    AppPaths m_paths;
    Handler m_handler;
    Settle m_settle;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server = nullptr;
    std::unordered_map<QLocalSocket*, Connection> m_connections;
    std::deque<Pending> m_queue;
    // The client of the command that runs now.
    QPointer<QLocalSocket> m_running;
    QTimer* m_keepAlive = nullptr;
    bool m_draining = false;
    QString m_error;
};
