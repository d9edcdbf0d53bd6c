#pragma once

#include "media/image_encoder.h"

#include <chrono>

// Encodes images by running `quillo-media image IN OUT --format …` for each request (OUT a
// temporary file read back and removed): the
// image codecs live in the worker, so the instance never loads a GUI library for them,
// and a hostile file can bring down only the worker.
class WorkerImageEncoder : public ImageEncoder {
public:
    explicit WorkerImageEncoder(QString workerPath, std::chrono::milliseconds timeout = std::chrono::seconds(60));

    // The worker installed beside the running executable.
    static QString defaultWorkerPath();

    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override;

private:
    QStringList arguments(const ImageEncodeRequest& request, const QString& output) const;

    QString m_workerPath;
    std::chrono::milliseconds m_timeout;
};
