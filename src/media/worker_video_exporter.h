#pragma once

#include "media/media_worker_job.h"
#include "media/video_exporter.h"

// Exports through the `quillo-media` worker, one process per export.
class WorkerVideoExporter : public VideoExporter {
public:
    explicit WorkerVideoExporter(QString workerPath, std::chrono::milliseconds stallTimeout = std::chrono::seconds(120));

    QCoro::Task<QString> exportVideo(VideoExportRequest request, Progress progress) override;
    void cancel() override;

private:
    MediaWorkerJob m_job;
};
