#include "support/xvfb.h"

#include <QStandardPaths>

Xvfb::~Xvfb()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000))
        m_process.kill();
    m_process.waitForFinished();
}

bool Xvfb::start(const QString& screen)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (program.isEmpty())
        return false;
    m_process.start(program, {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-nolisten"),
                              QStringLiteral("tcp"), QStringLiteral("-screen"), QStringLiteral("0"), screen});
    while (m_process.waitForReadyRead(10000) && !m_process.canReadLine()) {
    }
    if (!m_process.canReadLine())
        return false;
    m_display = QByteArray(":") + m_process.readLine().trimmed();
    return true;
}
