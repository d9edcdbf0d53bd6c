#pragma once

#include <QString>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <optional>
#include <vector>

// A media file's duration and the level envelope of its sound (100 buckets a second),
// read by `quillo-media envelope FILE` so untrusted files are parsed in the worker.
struct LevelEnvelopeData {
    double duration = 0;
    std::vector<float> levels;
};

class WorkerEnvelopeReader {
public:
    explicit WorkerEnvelopeReader(QString workerPath, std::chrono::milliseconds timeout = std::chrono::seconds(120));

    // Nothing when the worker fails or the file is not media; a file without sound gives a
    // flat envelope.
    QCoro::Task<std::optional<LevelEnvelopeData>> read(QString path);

private:
    QString m_workerPath;
    std::chrono::milliseconds m_timeout;
};
