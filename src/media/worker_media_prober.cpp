#include "media/worker_media_prober.h"

#include "core/json.h"
#include "media/worker_answer.h"

namespace {

std::optional<MediaFacts> factsFrom(const Json& answer)
{
    if (!answer.is_object() || answer.contains("error") || !answer.contains("duration") || !answer["duration"].is_number())
        return std::nullopt;
    MediaFacts facts;
    facts.duration = answer["duration"].get<double>();
    for (const Json& stream : answer.value("streams", Json::array())) {
        const std::string type = stream.is_object() ? stream.value("type", std::string()) : std::string();
        facts.hasVideo = facts.hasVideo || type == "video";
        facts.hasAudio = facts.hasAudio || type == "audio";
    }
    return facts;
}

} // namespace

WorkerMediaProber::WorkerMediaProber(QString workerPath, std::chrono::milliseconds timeout)
    : m_workerPath(std::move(workerPath))
    , m_timeout(timeout)
{
}

QCoro::Task<std::optional<MediaFacts>> WorkerMediaProber::probe(QString path)
{
    const QStringList arguments{QStringLiteral("probe"), path};
    QCoro::Task<std::optional<Json>> running = workerAnswer(m_workerPath, arguments, m_timeout);
    const std::optional<Json> answer = co_await std::move(running);
    co_return answer ? factsFrom(*answer) : std::nullopt;
}
