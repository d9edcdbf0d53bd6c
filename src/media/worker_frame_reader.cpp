#include "media/worker_frame_reader.h"

#include <QFileInfo>
#include <QProcess>

#include <qcoro/qcoroprocess.h>

WorkerFrameReader::WorkerFrameReader(QString workerPath, std::chrono::milliseconds timeout)
    : m_workerPath(std::move(workerPath))
    , m_timeout(timeout)
{
}

QCoro::Task<bool> WorkerFrameReader::write(QString path, double seconds, int maxWidth, QString output)
{
    if (!QFileInfo(m_workerPath).isExecutable())
        co_return false;
    // Copied: the reader may be gone by the time the worker answers.
    const auto timeout = m_timeout;
    QProcess worker;
    const QStringList arguments{QStringLiteral("frame"), path, output, QStringLiteral("--at"),
                                QString::number(seconds, 'f', 3), QStringLiteral("--width"), QString::number(maxWidth)};
    const bool started = co_await qCoro(worker).start(m_workerPath, arguments, QIODevice::ReadOnly);
    if (!started)
        co_return false;
    const bool finished = co_await qCoro(worker).waitForFinished(timeout);
    if (!finished) {
        worker.kill();
        worker.waitForFinished();
        co_return false;
    }
    co_return worker.exitStatus() == QProcess::NormalExit && worker.exitCode() == 0;
}
