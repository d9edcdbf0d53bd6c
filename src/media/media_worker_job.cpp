#include "media/media_worker_job.h"

#include "core/json_values.h"
#include "media/media_error.h"
#include "media/media_log.h"

#include <QFileInfo>
#include <QTimer>

#include <qcoro/qcoroprocess.h>
#include <qcoro/qcorosignal.h>

namespace {

constexpr std::chrono::seconds kStartTimeout{10};

} // namespace

MediaWorkerJob::MediaWorkerJob(QString workerPath, std::chrono::milliseconds stallTimeout, QObject* parent)
    : QObject(parent)
    , m_workerPath(std::move(workerPath))
    , m_stallTimeout(stallTimeout)
{
}

void MediaWorkerJob::cancel()
{
    if (!m_process)
        return;
    m_cancelled = true;
    m_process->kill();
}

void MediaWorkerJob::readLines(QProcess& process, QByteArray& buffer, Json& answer, const Progress& progress)
{
    buffer += process.readAllStandardOutput();
    qsizetype end = 0;
    while ((end = buffer.indexOf('\n')) >= 0) {
        const Json line = JsonValues::parseOrDiscard(buffer.left(end).toStdString());
        buffer.remove(0, end + 1);
        if (!line.is_object())
            continue;
        if (line.size() == 1 && line.contains("progress") && line["progress"].is_number())
            progress(line["progress"].get<double>());
        else
            answer = line;
    }
}

QCoro::Task<Json> MediaWorkerJob::run(Json request, Progress progress)
{
    // A program that cannot start never reports "started"; waiting would only time out.
    if (!QFileInfo(m_workerPath).isExecutable())
        throw MediaError::workerFailed(QStringLiteral("cannot start ") + m_workerPath + QStringLiteral(": not found"));
    QProcess process;
    m_process = &process;
    m_cancelled = false;
    QByteArray buffer;
    Json answer;
    bool stalled = false;
    QTimer watchdog;
    watchdog.setSingleShot(true);
    watchdog.setInterval(m_stallTimeout);
    connect(&watchdog, &QTimer::timeout, &process, [&] {
        stalled = true;
        process.kill();
    });
    connect(&process, &QProcess::readyReadStandardOutput, &process, [&] {
        watchdog.start();
        readLines(process, buffer, answer, progress);
    });
    const auto logWorkerLines = [&process] {
        for (const QByteArray& line : process.readAllStandardError().split('\n')) {
            if (!line.trimmed().isEmpty())
                qCInfo(lcMedia).noquote() << QString::fromUtf8(line);
        }
    };
    connect(&process, &QProcess::readyReadStandardError, &process, [&] {
        watchdog.start();
        logWorkerLines();
    });
    const QStringList arguments{QStringLiteral("job")};
    process.start(m_workerPath, arguments);
    const bool started = co_await qCoro(process).waitForStarted(kStartTimeout);
    if (!started) {
        m_process = nullptr;
        throw MediaError::workerFailed(QStringLiteral("cannot start ") + m_workerPath + QStringLiteral(": ")
                                       + process.errorString());
    }
    process.write(QByteArray::fromStdString(request.dump()) + '\n');
    process.closeWriteChannel();
    watchdog.start();
    if (process.state() != QProcess::NotRunning)
        co_await qCoro(&process, &QProcess::finished);
    watchdog.stop();
    m_process = nullptr;
    readLines(process, buffer, answer, progress);
    logWorkerLines();
    if (m_cancelled)
        throw MediaError::cancelled();
    if (stalled)
        throw MediaError::workerFailed(QStringLiteral("it stopped making progress and was ended"));
    if (process.exitStatus() == QProcess::CrashExit) {
        qCWarning(lcMedia).noquote() << "❌ The media worker crashed";
        throw MediaError::workerFailed(QStringLiteral("it stopped unexpectedly"));
    }
    if (!answer.is_object())
        throw MediaError::workerFailed(QStringLiteral("it gave no answer"));
    co_return answer;
}
