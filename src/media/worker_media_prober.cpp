#include "media/worker_media_prober.h"

#include "core/json.h"
#include "core/json_values.h"
#include "media/media_log.h"

#include <QFileInfo>
#include <QProcess>

#include <qcoro/qcoroprocess.h>

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
    if (!QFileInfo(m_workerPath).isExecutable()) {
        qCWarning(lcMedia).noquote() << "❌ The media worker is missing:" << m_workerPath;
        co_return std::nullopt;
    }
    QProcess worker;
    worker.setProcessChannelMode(QProcess::SeparateChannels);
    const QStringList arguments{QStringLiteral("probe"), path};
    const bool started = co_await qCoro(worker).start(m_workerPath, arguments, QIODevice::ReadOnly);
    if (!started)
        co_return std::nullopt;
    const bool finished = co_await qCoro(worker).waitForFinished(m_timeout);
    if (!finished) {
        worker.kill();
        worker.waitForFinished();
        co_return std::nullopt;
    }
    const QList<QByteArray> lines = worker.readAllStandardOutput().trimmed().split('\n');
    co_return factsFrom(JsonValues::parseOrDiscard(lines.constLast().toStdString()));
}
