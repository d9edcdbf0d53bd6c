#include "support/running_instance.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>

#include <csignal>

RunningInstance::RunningInstance()
    : m_instance(std::make_unique<QuilloProcess>(m_home.path()))
{
}

RunningInstance::~RunningInstance()
{
    m_instance.reset();
    stopLockHolder(paths());
}

bool RunningInstance::start()
{
    m_instance->start({QStringLiteral("--headless")});
    return waitForChannel(paths());
}

QByteArray RunningInstance::log()
{
    // The log file, not the pipe: it is complete without waiting on the process.
    QFile file(paths().logFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

RunningInstance::Run RunningInstance::run(const QStringList& arguments, const QStringList& extraEnvironment)
{
    QuilloProcess child(m_home.path());
    // A test must never reach the desktop's real URL opener.
    child.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    for (const QString& assignment : extraEnvironment)
        child.environment().insert(assignment.section(u'=', 0, 0), assignment.section(u'=', 1));
    child.start(arguments);
    Run result;
    result.exitCode = child.waitForExit(30000).value_or(-1);
    result.stderrText = child.allStderr();
    return result;
}

bool RunningInstance::waitForChannel(const AppPaths& paths, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        QLocalSocket socket;
        socket.connectToServer(paths.socketPath());
        if (socket.waitForConnected(500))
            return true;
        QThread::msleep(20);
    }
    return false;
}

void RunningInstance::stopLockHolder(const AppPaths& paths)
{
    QLockFile lock(paths.runtimeDir() + QStringLiteral("/quillo.lock"));
    qint64 pid = 0;
    QString host;
    QString app;
    if (!lock.getLockInfo(&pid, &host, &app) || pid <= 0)
        return;
    // Only ever signal our own binary, never a process that happens to reuse the id.
    // The desktop start runs on as quillo-desktop, from the same folder.
    const QFileInfo quillo(QStringLiteral(QUILLO_BINARY));
    const QString executable = QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).canonicalFilePath();
    if (executable != quillo.canonicalFilePath()
        && executable != QFileInfo(quillo.dir(), QStringLiteral("quillo-desktop")).canonicalFilePath())
        return;
    ::kill(pid_t(pid), SIGTERM);
    const QDeadlineTimer deadline(QuilloProcess::kDefaultTimeoutMs);
    while (::kill(pid_t(pid), 0) == 0 && !deadline.hasExpired())
        QThread::msleep(20);
}
