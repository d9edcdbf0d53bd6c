#include "media/worker_answer.h"

#include "core/json_values.h"
#include "media/media_log.h"

#include <QFileInfo>
#include <QProcess>

#include <qcoro/qcoroprocess.h>

QCoro::Task<std::optional<Json>> workerAnswer(QString workerPath, QStringList arguments, std::chrono::milliseconds timeout)
{
    if (!QFileInfo(workerPath).isExecutable()) {
        qCWarning(lcMedia).noquote() << "❌ The media worker is missing:" << workerPath;
        co_return std::nullopt;
    }
    QProcess worker;
    worker.setProcessChannelMode(QProcess::SeparateChannels);
    const bool started = co_await qCoro(worker).start(workerPath, arguments, QIODevice::ReadOnly);
    if (!started)
        co_return std::nullopt;
    const bool finished = co_await qCoro(worker).waitForFinished(timeout);
    if (!finished) {
        worker.kill();
        worker.waitForFinished();
        co_return std::nullopt;
    }
    const QList<QByteArray> lines = worker.readAllStandardOutput().trimmed().split('\n');
    co_return JsonValues::parseOrDiscard(lines.constLast().toStdString());
}
