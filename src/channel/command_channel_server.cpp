#include "channel/command_channel_server.h"

#include "channel/channel_log.h"
#include "channel/command_channel_protocol.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QTimer>

namespace {

bool makePrivateDir(const QString& path)
{
    return QDir().mkpath(path) && QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

CommandChannelServer::CommandChannelServer(AppPaths paths, Handler handler, Settle settle, QObject* parent)
    : QObject(parent)
    , m_paths(std::move(paths))
    , m_handler(std::move(handler))
    , m_settle(std::move(settle))
    , m_keepAlive(new QTimer(this))
{
    m_keepAlive->setInterval(kKeepAliveInterval);
    connect(m_keepAlive, &QTimer::timeout, this, &CommandChannelServer::sendKeepAlives);
}

void CommandChannelServer::setKeepAliveInterval(std::chrono::milliseconds interval)
{
    m_keepAlive->setInterval(interval);
}

void CommandChannelServer::sendKeepAlives()
{
    const QByteArray frame = CommandChannelProtocol::encodeKeepAlive();
    const auto tell = [&frame](QLocalSocket* socket) {
        if (socket && socket->state() == QLocalSocket::ConnectedState)
            socket->write(frame);
    };
    tell(m_running.data());
    for (const Pending& pending : m_queue)
        tell(pending.socket.data());
}

CommandChannelServer::~CommandChannelServer()
{
    // Sockets are children of the server; forget them before they go so no slot runs late.
    for (auto& [socket, connection] : m_connections)
        socket->disconnect(this);
    m_connections.clear();
    if (m_server)
        m_server->close();
}

QString CommandChannelServer::lockFilePath() const
{
    return m_paths.runtimeDir() + QStringLiteral("/quillo.lock");
}

CommandChannelServer::StartResult CommandChannelServer::start()
{
    if (!makePrivateDir(m_paths.runtimeDir())) {
        m_error = QStringLiteral("Cannot create the runtime folder ") + m_paths.runtimeDir();
        return StartResult::failed;
    }
    m_lock = std::make_unique<QLockFile>(lockFilePath());
    // A live instance may run for weeks: only a dead owner makes the lock stale.
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0)) {
        const bool held = m_lock->error() == QLockFile::LockFailedError;
        m_error = held ? QStringLiteral("Another Quillo instance is running")
                       : QStringLiteral("Cannot take the instance lock ") + lockFilePath();
        m_lock.reset();
        return held ? StartResult::alreadyRunning : StartResult::failed;
    }

    // We hold the lock, so a socket file left behind belongs to a dead instance.
    QLocalServer::removeServer(m_paths.socketPath());
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_paths.socketPath())) {
        m_error = QStringLiteral("Cannot listen on ") + m_paths.socketPath() + QStringLiteral(": ")
            + m_server->errorString();
        return StartResult::failed;
    }
    connect(m_server, &QLocalServer::newConnection, this, &CommandChannelServer::acceptConnections);
    qCInfo(lcChannel).noquote() << "Command channel listening on" << m_paths.socketPath();
    return StartResult::listening;
}

void CommandChannelServer::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        Connection& connection = m_connections[socket];
        connection.stallTimer = std::make_unique<QTimer>();
        connection.stallTimer->setSingleShot(true);
        connection.stallTimer->setInterval(kPartialFrameTimeout);
        connect(connection.stallTimer.get(), &QTimer::timeout, this, [this, socket] {
            drop(socket, QStringLiteral("a message stayed incomplete too long"));
        });
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readFrames(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] { forget(socket); });
        // Bytes may have arrived before the signals were connected.
        readFrames(socket);
    }
}

void CommandChannelServer::readFrames(QLocalSocket* socket)
{
    auto found = m_connections.find(socket);
    if (found == m_connections.end())
        return;
    QByteArray& buffer = found->second.buffer;
    buffer += socket->readAll();

    // Cut every complete frame out first: handling one may touch the connection table.
    QList<QByteArray> frames;
    qsizetype start = 0;
    for (qsizetype end = buffer.indexOf('\n'); end >= 0; end = buffer.indexOf('\n', start)) {
        if (end - start + 1 > CommandChannelProtocol::kMaxMessageBytes) {
            drop(socket, QStringLiteral("a message exceeded the size limit"));
            return;
        }
        frames.append(buffer.sliced(start, end - start));
        start = end + 1;
    }
    buffer.remove(0, start);
    if (buffer.size() >= CommandChannelProtocol::kMaxMessageBytes) {
        drop(socket, QStringLiteral("a message exceeded the size limit"));
        return;
    }
    if (buffer.isEmpty())
        found->second.stallTimer->stop();
    else if (!found->second.stallTimer->isActive())
        found->second.stallTimer->start();

    for (const QByteArray& frame : std::as_const(frames))
        handleFrame(socket, frame);
}

void CommandChannelServer::handleFrame(QLocalSocket* socket, const QByteArray& frame)
{
    auto request = CommandChannelProtocol::decodeRequest(frame);
    if (auto* error = std::get_if<CommandChannelProtocol::DecodeError>(&request)) {
        qCWarning(lcChannel).noquote() << "⚠️ Command channel:" << error->message;
        reply(socket, CommandOutcome::failure(error->message));
        return;
    }
    // A sync request waits in the same queue, so it is answered after every command
    // that arrived before it.
    QString url = std::holds_alternative<QString>(request) ? std::get<QString>(std::move(request)) : QString();
    enqueue(socket, std::move(url));
}

void CommandChannelServer::drop(QLocalSocket* socket, const QString& reason)
{
    qCWarning(lcChannel).noquote() << "⚠️ Command channel: closing a connection:" << reason;
    const QString message = QStringLiteral("Command channel closed the connection: ") + reason;
    reply(socket, CommandOutcome::failure(message));
    socket->flush();
    forget(socket);
    socket->abort();
}

void CommandChannelServer::forget(QLocalSocket* socket)
{
    if (m_connections.erase(socket) == 0)
        return;
    socket->disconnect(this);
    socket->deleteLater();
}

void CommandChannelServer::reply(QLocalSocket* socket, const CommandOutcome& outcome)
{
    if (!socket || socket->state() != QLocalSocket::ConnectedState)
        return;
    socket->write(CommandChannelProtocol::encodeReply(outcome));
}

void CommandChannelServer::enqueue(QLocalSocket* socket, QString url)
{
    if (m_queue.size() >= kMaxQueuedCommands) {
        reply(socket, CommandOutcome::failure(QStringLiteral("Quillo is busy; try again shortly")));
        return;
    }
    m_queue.push_back({socket, std::move(url)});
    if (!m_draining)
        QCoro::connect(drain(), this, [] {});
}

QCoro::Task<> CommandChannelServer::drain()
{
    m_draining = true;
    m_keepAlive->start();
    while (!m_queue.empty()) {
        Pending next = std::move(m_queue.front());
        m_queue.pop_front();
        m_running = next.socket;
        if (next.url.isEmpty()) {
            const bool stored = !m_settle || m_settle();
            reply(next.socket.data(),
                  stored ? CommandOutcome::success(QStringLiteral("Stored"))
                         : CommandOutcome::failure(QStringLiteral("Quillo could not save the changes; see its log")));
            continue;
        }
        CommandOutcome outcome;
        try {
            outcome = co_await m_handler(next.url);
        } catch (const std::exception& error) {
            outcome = CommandOutcome::failure(QString::fromUtf8(error.what()));
        }
        m_running = nullptr;
        reply(next.socket.data(), outcome);
        Q_EMIT commandFinished(next.url, outcome);
    }
    m_keepAlive->stop();
    m_draining = false;
}
