#include "media/worker_video_exporter.h"

#include "media/media_error.h"

#include <QFile>

namespace {

MediaError errorFromAnswer(const Json& answer)
{
    const std::string kind = answer.value("error", std::string());
    const QString message = QString::fromStdString(answer.value("message", std::string()));
    if (kind == "unreadable")
        return MediaError::unreadableInput(message);
    if (kind == "unwritable" || kind == "exportFailed")
        return MediaError::outputFailed(message);
    if (kind == "cancelled")
        return MediaError::cancelled();
    if (kind == "noVideo" || kind == "invalidClips" || kind == "noPreset" || kind == "usage")
        return MediaError::invalidRequest(message);
    return MediaError::workerFailed(message);
}

} // namespace

WorkerVideoExporter::WorkerVideoExporter(QString workerPath, std::chrono::milliseconds stallTimeout)
    : m_job(std::move(workerPath), stallTimeout)
{
}

QCoro::Task<QString> WorkerVideoExporter::exportVideo(VideoExportRequest request, Progress progress)
{
    const QString partial = VideoExportRequest::partialPath(request.output);
    const Json job = request.toJson();
    Json answer;
    try {
        QCoro::Task<Json> running = m_job.run(job, progress);
        answer = co_await std::move(running);
    } catch (const MediaError&) {
        // A worker that was ended had no chance to remove its partial file.
        QFile::remove(partial);
        throw;
    }
    if (answer.contains("error")) {
        QFile::remove(partial);
        throw errorFromAnswer(answer);
    }
    co_return request.output;
}

void WorkerVideoExporter::cancel()
{
    m_job.cancel();
}
