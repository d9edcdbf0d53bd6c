#include "media/worker_envelope_reader.h"

#include "core/json.h"
#include "core/json_values.h"
#include "media/media_log.h"

#include <QFileInfo>
#include <QProcess>

#include <qcoro/qcoroprocess.h>

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
    if (!QFileInfo(m_workerPath).isExecutable()) {
        qCWarning(lcMedia).noquote() << "❌ The media worker is missing:" << m_workerPath;
        co_return std::nullopt;
    }
    // Copied: the reader may be gone by the time the worker answers.
    const auto timeout = m_timeout;
    QProcess worker;
    worker.setProcessChannelMode(QProcess::SeparateChannels);
    const QStringList arguments{QStringLiteral("envelope"), path};
    const bool started = co_await qCoro(worker).start(m_workerPath, arguments, QIODevice::ReadOnly);
    if (!started)
        co_return std::nullopt;
    const bool finished = co_await qCoro(worker).waitForFinished(timeout);
    if (!finished) {
        worker.kill();
        worker.waitForFinished();
        co_return std::nullopt;
    }
    const QList<QByteArray> lines = worker.readAllStandardOutput().trimmed().split('\n');
    auto data = envelopeFrom(JsonValues::parseOrDiscard(lines.constLast().toStdString()));
    if (!data)
        qCWarning(lcMedia).noquote() << "❌ No sound levels for" << path;
    co_return data;
}
