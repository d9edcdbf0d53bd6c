#pragma once

#include "media/media_prober.h"

#include <chrono>

// Probes with `quillo-media probe FILE`, so container parsing of untrusted files happens
// in the worker process.
class WorkerMediaProber : public MediaProber {
public:
    explicit WorkerMediaProber(QString workerPath, std::chrono::milliseconds timeout = std::chrono::seconds(30));

    QCoro::Task<std::optional<MediaFacts>> probe(QString path) override;

private:
    QString m_workerPath;
    std::chrono::milliseconds m_timeout;
};
