#pragma once

#include <QString>

#include <qcoro/qcorotask.h>

#include <chrono>

// The editor's preview pictures: `quillo-media frame` decodes the picture shown at a time
// into a JPEG, so no video decoder runs in the instance.
class WorkerFrameReader {
public:
    explicit WorkerFrameReader(QString workerPath, std::chrono::milliseconds timeout = std::chrono::seconds(20));

    // True when the picture was written to `output`.
    QCoro::Task<bool> write(QString path, double seconds, int maxWidth, QString output);

private:
    QString m_workerPath;
    std::chrono::milliseconds m_timeout;
};
