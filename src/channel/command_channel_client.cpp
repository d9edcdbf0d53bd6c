#include "channel/command_channel_client.h"

#include "channel/channel_log.h"
#include "channel/command_channel_protocol.h"
#include "core/session_environment.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QProcess>
#include <QThread>

namespace {

constexpr std::chrono::milliseconds kConnectTimeout{1000};
constexpr std::chrono::milliseconds kRetryInterval{25};

QString ownExecutable()
{
    // Works without a QCoreApplication, which the forwarder and MCP server may not have.
    return QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
}

// Reads one reply frame; the socket is connected and the request written. Each
// keep-alive starts the wait afresh: the instance is still on it.
CommandOutcome readReply(QLocalSocket& socket, std::chrono::milliseconds replyTimeout)
{
    QDeadlineTimer deadline(replyTimeout);
    QByteArray buffer;
    for (;;) {
        buffer += socket.readAll();
        for (qsizetype end = buffer.indexOf('\n'); end >= 0; end = buffer.indexOf('\n')) {
            auto reply = CommandChannelProtocol::decodeReply(buffer.left(end));
            buffer.remove(0, end + 1);
            if (std::holds_alternative<CommandChannelProtocol::KeepAlive>(reply)) {
                deadline = QDeadlineTimer(replyTimeout);
                continue;
            }
            if (auto* error = std::get_if<CommandChannelProtocol::DecodeError>(&reply))
                return CommandOutcome::failure(error->message);
            return std::get<CommandOutcome>(reply);
        }
        if (buffer.size() > CommandChannelProtocol::kMaxMessageBytes)
            return CommandOutcome::failure(QStringLiteral("Malformed reply from Quillo"));
        if (socket.state() != QLocalSocket::ConnectedState)
            return CommandOutcome::failure(QStringLiteral("Quillo closed the connection before answering"));
        if (deadline.hasExpired())
            return CommandOutcome::failure(QStringLiteral("Quillo did not answer in time"));
        socket.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
    }
}

} // namespace

CommandChannelClient::CommandChannelClient(AppPaths paths)
    : CommandChannelClient(std::move(paths), Options{})
{
}

CommandChannelClient::CommandChannelClient(AppPaths paths, Options options)
    : m_paths(std::move(paths))
    , m_options(std::move(options))
{
}

std::optional<CommandOutcome> CommandChannelClient::trySend(const QString& url, std::chrono::milliseconds replyTimeout)
{
    const QByteArray request = CommandChannelProtocol::encodeRequest(url);
    if (request.size() > CommandChannelProtocol::kMaxMessageBytes)
        return CommandOutcome::failure(QStringLiteral("The command is too long to send to Quillo"));
    return exchange(request, replyTimeout);
}

CommandOutcome CommandChannelClient::sync(std::chrono::milliseconds replyTimeout)
{
    const auto outcome = exchange(CommandChannelProtocol::encodeSyncRequest(), replyTimeout);
    // With no instance running there is nothing left to store.
    return outcome.value_or(CommandOutcome::success());
}

std::optional<CommandOutcome> CommandChannelClient::exchange(const QByteArray& request,
                                                              std::chrono::milliseconds replyTimeout)
{
    QLocalSocket socket;
    socket.connectToServer(m_paths.socketPath());
    if (!socket.waitForConnected(int(kConnectTimeout.count())))
        return std::nullopt;

    // Once connected the command may run, so nothing below ever sends it a second time.
    const QDeadlineTimer deadline(replyTimeout);
    socket.write(request);
    while (socket.bytesToWrite() > 0 && socket.state() == QLocalSocket::ConnectedState && !deadline.hasExpired())
        socket.waitForBytesWritten(int(qMax<qint64>(1, deadline.remainingTime())));
    const CommandOutcome outcome = readReply(socket, replyTimeout);
    socket.disconnectFromServer();
    return outcome;
}

CommandOutcome CommandChannelClient::send(const QString& url, std::chrono::milliseconds replyTimeout)
{
    if (auto outcome = trySend(url, replyTimeout))
        return *outcome;
    if (m_options.autoStart && startInstance()) {
        if (auto outcome = waitForInstanceAndSend(url, replyTimeout))
            return *outcome;
    }
    if (auto outcome = handToDesktopOpener(url))
        return *outcome;
    return CommandOutcome::failure(QStringLiteral("Quillo is not running and could not be started"));
}

bool CommandChannelClient::startInstance() const
{
    const QString program = m_options.program.isEmpty() ? ownExecutable() : m_options.program;
    if (program.isEmpty())
        return false;
    QStringList arguments;
    if (!SessionEnvironment::hasDisplay(m_options.environment))
        arguments << QStringLiteral("--headless");

    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(m_options.environment);
    // The instance outlives us and must never write into our pipes (stdout is the
    // MCP protocol); it has its own log file.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setWorkingDirectory(QDir::homePath());
    qCInfo(lcChannel).noquote() << "No Quillo instance answered; starting" << program << arguments.join(u' ');
    return process.startDetached();
}

std::optional<CommandOutcome> CommandChannelClient::waitForInstanceAndSend(const QString& url,
                                                                           std::chrono::milliseconds replyTimeout)
{
    const QDeadlineTimer deadline(m_options.startTimeout);
    while (!deadline.hasExpired()) {
        if (auto outcome = trySend(url, replyTimeout))
            return outcome;
        QThread::msleep(std::chrono::milliseconds(kRetryInterval).count());
    }
    return std::nullopt;
}

std::optional<CommandOutcome> CommandChannelClient::handToDesktopOpener(const QString& url) const
{
    if (m_options.desktopOpener.isEmpty() || m_options.environment.contains(QLatin1String(kNoOpenerVariable)))
        return std::nullopt;
    QProcessEnvironment environment = m_options.environment;
    environment.insert(QLatin1String(kNoOpenerVariable), QStringLiteral("1"));
    QProcess process;
    process.setProgram(m_options.desktopOpener);
    process.setArguments({url});
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached())
        return std::nullopt;
    return CommandOutcome::success(QStringLiteral("Handed to the desktop opener; Quillo's answer is not known"));
}
