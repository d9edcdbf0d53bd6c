#include "media/worker_envelope_reader.h"

#include "core/json.h"
#include "media/media_log.h"
#include "media/worker_answer.h"

namespace {

std::optional<LevelEnvelopeData> envelopeFrom(const Json& answer)
{
    if (!answer.is_object() || answer.contains("error") || !answer.contains("duration")
        || !answer["duration"].is_number() || !answer.contains("levels") || !answer["levels"].is_array())
        return std::nullopt;
    LevelEnvelopeData data;
    data.duration = answer["duration"].get<double>();
    data.levels.reserve(answer["levels"].size());
    for (const Json& level : answer["levels"])
        data.levels.push_back(level.is_number() ? level.get<float>() : 0.0f);
    return data;
}

} // namespace

WorkerEnvelopeReader::WorkerEnvelopeReader(QString workerPath, std::chrono::milliseconds timeout)
    : m_workerPath(std::move(workerPath))
    , m_timeout(timeout)
{
}

QCoro::Task<std::optional<LevelEnvelopeData>> WorkerEnvelopeReader::read(QString path)
{
    const QStringList arguments{QStringLiteral("envelope"), path};
    QCoro::Task<std::optional<Json>> running = workerAnswer(m_workerPath, arguments, m_timeout);
    const std::optional<Json> answer = co_await std::move(running);
    auto data = answer ? envelopeFrom(*answer) : std::nullopt;
    if (!data)
        qCWarning(lcMedia).noquote() << "❌ No sound levels for" << path;
    co_return data;
}
