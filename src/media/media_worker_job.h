#pragma once

#include "core/json.h"

#include <QObject>
#include <QPointer>
#include <QProcess>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>

// One long job in the `quillo-media` worker process: the request goes in as one JSON line
// on stdin, {"progress": x} lines come back, then the answer line. The worker's own log
// lines (stderr) go into the instance's log. A worker that says nothing for `stallTimeout`
// is ended, so a hostile file can never hang the instance.
class MediaWorkerJob : public QObject {
    Q_OBJECT
public:
    using Progress = std::function<void(double)>;

    explicit MediaWorkerJob(QString workerPath, std::chrono::milliseconds stallTimeout = std::chrono::seconds(120),
                            QObject* parent = nullptr);

    // The worker's answer ({"error", "message"} when the job failed). Throws MediaError when
    // the worker cannot start, crashes, stalls, gives no answer, or the job is cancelled.
    QCoro::Task<Json> run(Json request, Progress progress);

    // Ends the running worker; run() then throws MediaError::cancelled().
    void cancel();
    bool isRunning() const { return !m_process.isNull(); }

private:
    void readLines(QProcess& process, QByteArray& buffer, Json& answer, const Progress& progress);

    QString m_workerPath;
    std::chrono::milliseconds m_stallTimeout;
    QPointer<QProcess> m_process;
    bool m_cancelled = false;
};
