#include "support/quillo_process.h"

#include <QDeadlineTimer>

QuilloProcess::QuilloProcess(const QString& home)
    : m_env(QProcessEnvironment::systemEnvironment())
{
    m_env.insert(QStringLiteral("QUILLO_HOME"), home);
    m_env.remove(QStringLiteral("QUILLO_MCP_STDIO"));
    m_env.remove(QStringLiteral("QUILLO_MCP_DEBUG"));
    m_env.remove(QStringLiteral("DISPLAY"));
    m_env.remove(QStringLiteral("WAYLAND_DISPLAY"));
}

QuilloProcess::~QuilloProcess()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(kDefaultTimeoutMs);
}

void QuilloProcess::start(const QStringList& arguments)
{
    m_process.setProcessEnvironment(m_env);
    m_process.start(QStringLiteral(QUILLO_BINARY), arguments);
    m_process.waitForStarted(kDefaultTimeoutMs);
}

void QuilloProcess::writeLine(const QByteArray& line)
{
    write(line + '\n');
}

void QuilloProcess::write(const QByteArray& bytes)
{
    m_process.write(bytes);
    m_process.waitForBytesWritten(kDefaultTimeoutMs);
}

void QuilloProcess::closeInput()
{
    m_process.closeWriteChannel();
}

std::optional<QByteArray> QuilloProcess::readLine(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        const qsizetype newline = m_stdout.indexOf('\n');
        if (newline >= 0) {
            QByteArray line = m_stdout.left(newline);
            m_stdout.remove(0, newline + 1);
            return line;
        }
        m_stdout += m_process.readAllStandardOutput();
        if (m_stdout.contains('\n'))
            continue;
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return std::nullopt;
        m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
    }
}

std::optional<int> QuilloProcess::waitForExit(int timeoutMs)
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(timeoutMs))
        return std::nullopt;
    return m_process.exitCode();
}

QByteArray QuilloProcess::allStdout()
{
    m_stdout += m_process.readAllStandardOutput();
    return std::exchange(m_stdout, {});
}

QByteArray QuilloProcess::allStderr()
{
    return m_process.readAllStandardError();
}
