#include "media/worker_image_encoder.h"

#include "core/json.h"
#include "core/json_values.h"
#include "media/media_error.h"
#include "media/media_log.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <qcoro/qcoroprocess.h>

namespace {

constexpr std::chrono::seconds kStartTimeout{10};

// The worker answers with one JSON object on its last stdout line.
Json lastJsonLine(const QByteArray& stdoutText)
{
    const QList<QByteArray> lines = stdoutText.trimmed().split('\n');
    return JsonValues::parseOrDiscard(lines.constLast().toStdString());
}

MediaError errorFromAnswer(const Json& answer, const QString& input)
{
    const std::string kind = answer.value("error", std::string());
    const QString message = QString::fromStdString(answer.value("message", std::string()));
    if (kind == "unreadable")
        return MediaError::unreadableInput(message.isEmpty() ? input : message);
    if (kind == "tooLarge")
        return MediaError::tooLarge(message);
    if (kind == "unwritable")
        return MediaError::outputFailed(message);
    return MediaError::workerFailed(message.isEmpty() ? QStringLiteral("no answer for ") + input : message);
}

} // namespace

WorkerImageEncoder::WorkerImageEncoder(QString workerPath, std::chrono::milliseconds timeout)
    : m_workerPath(std::move(workerPath))
    , m_timeout(timeout)
{
}

QString WorkerImageEncoder::defaultWorkerPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/quillo-media");
}

QStringList WorkerImageEncoder::arguments(const ImageEncodeRequest& request, const QString& output) const
{
    QStringList arguments{QStringLiteral("image"), request.input, output, QStringLiteral("--format"),
                          request.format == ImageFormat::jpeg ? QStringLiteral("jpeg") : QStringLiteral("png")};
    if (request.maxBytes)
        arguments << QStringLiteral("--max-bytes") << QString::number(*request.maxBytes);
    if (!request.redactions.isEmpty()) {
        QStringList rectangles;
        for (const RedactionRect& r : request.redactions)
            rectangles << QStringLiteral("%1,%2,%3,%4").arg(r.x).arg(r.y).arg(r.width).arg(r.height)
                    + (r.blurred ? QStringLiteral(",blur") : QString());
        arguments << QStringLiteral("--redact") << rectangles.join(QLatin1Char(';'));
    }
    return arguments;
}

QCoro::Task<QByteArray> WorkerImageEncoder::encode(ImageEncodeRequest request)
{
    const QTemporaryDir scratch;
    if (!scratch.isValid())
        throw MediaError::outputFailed(scratch.errorString());
    const QString output = scratch.filePath(QStringLiteral("encoded"));
    // A program that cannot start never reports "started", so waiting for it would only
    // run into the timeout.
    if (!QFileInfo(m_workerPath).isExecutable())
        throw MediaError::workerFailed(QStringLiteral("cannot start ") + m_workerPath + QStringLiteral(": not found"));
    QProcess worker;
    worker.setProcessChannelMode(QProcess::SeparateChannels);
    if (!co_await qCoro(worker).start(m_workerPath, arguments(request, output), QIODevice::ReadOnly, kStartTimeout))
        throw MediaError::workerFailed(QStringLiteral("cannot start ") + m_workerPath + QStringLiteral(": ")
                                       + worker.errorString());
    if (!co_await qCoro(worker).waitForFinished(m_timeout)) {
        worker.kill();
        worker.waitForFinished();
        throw MediaError::workerFailed(QStringLiteral("no result for ") + request.input + QStringLiteral(" in time"));
    }
    if (worker.exitStatus() == QProcess::CrashExit) {
        qCWarning(lcMedia).noquote() << "❌ The media worker crashed on" << request.input;
        throw MediaError::workerFailed(QStringLiteral("it stopped while reading ") + request.input);
    }
    const Json answer = lastJsonLine(worker.readAllStandardOutput());
    if (worker.exitCode() != 0 || !answer.is_object() || answer.contains("error"))
        throw errorFromAnswer(answer.is_object() ? answer : Json::object(), request.input);
    QFile encoded(output);
    if (!encoded.open(QIODevice::ReadOnly))
        throw MediaError::outputFailed(output + QStringLiteral(": ") + encoded.errorString());
    co_return encoded.readAll();
}
