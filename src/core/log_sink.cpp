#include "core/log_sink.h"

#include "core/clock.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <cstdio>
#include <mutex>

namespace {

// The message handler is a plain function, so the few things it needs live here.
struct SinkState {
    std::mutex mutex;
    std::FILE* file = nullptr;
    const Clock* clock = nullptr;
    bool mcpDebug = false;
};

SinkState& state()
{
    static SinkState sink;
    return sink;
}

const char* levelTag(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg: return "debug";
    case QtInfoMsg: return "info";
    case QtWarningMsg: return "warning";
    case QtCriticalMsg: return "critical";
    case QtFatalMsg: return "fatal";
    }
    return "info";
}

void instanceHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    SinkState& sink = state();
    const QByteArray line = sink.clock->now().toDateTime().toString(Qt::ISODateWithMs).toUtf8() + ' '
        + (context.category ? context.category : "default") + ' ' + levelTag(type) + ": " + message.toUtf8() + '\n';
    const std::lock_guard lock(sink.mutex);
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    if (sink.file) {
        std::fwrite(line.constData(), 1, size_t(line.size()), sink.file);
        std::fflush(sink.file);
    }
}

void mcpHandler(QtMsgType, const QMessageLogContext&, const QString& message)
{
    if (!state().mcpDebug || !message.startsWith(QStringLiteral("[MCP] ")))
        return;
    const QByteArray line = message.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

} // namespace

void LogSink::installForInstance(const QString& logFile, const Clock& clock)
{
    QDir().mkpath(QFileInfo(logFile).absolutePath());
    SinkState& sink = state();
    sink.clock = &clock;
    sink.file = std::fopen(QFile::encodeName(logFile).constData(), "ae");
    qInstallMessageHandler(instanceHandler);
}

void LogSink::installForMcp(bool debug)
{
    state().mcpDebug = debug;
    qInstallMessageHandler(mcpHandler);
}
