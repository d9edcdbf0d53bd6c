#include "media/worker_frame_reader.h"

#include "media/worker_answer.h"

WorkerFrameReader::WorkerFrameReader(QString workerPath, std::chrono::milliseconds timeout)
    : m_workerPath(std::move(workerPath))
    , m_timeout(timeout)
{
}

QCoro::Task<bool> WorkerFrameReader::write(QString path, double seconds, int maxWidth, QString output)
{
    const QStringList arguments{QStringLiteral("frame"), path, output, QStringLiteral("--at"),
                                QString::number(seconds, 'f', 3), QStringLiteral("--width"), QString::number(maxWidth)};
    QCoro::Task<std::optional<Json>> running = workerAnswer(m_workerPath, arguments, m_timeout);
    const std::optional<Json> answer = co_await std::move(running);
    co_return answer && answer->is_object() && answer->contains("width");
}
