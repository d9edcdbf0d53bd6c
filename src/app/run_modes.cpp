#include "app/run_modes.h"

#include "app/app_log.h"
#include "app/app_paths.h"
#include "app/launch_options.h"
#include "app/log_sink.h"
#include "app/preferences/preference_store.h"
#include "app/quillo_instance.h"
#include "app/unix_signal_watcher.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_stdio_session.h"
#include "mcp/mcp_stdio_transport.h"
#include "mcp/mcp_tool_catalogue.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace RunModes {

int runMcpStdio(const LaunchOptions& options)
{
    // No application object and no GUI library: the server is a plain loop on stdin.
    LogSink::installForMcp(options.mcpDebug);
    const MCPLog log(options.mcpDebug);
    log.raw("[MCP] App init: MCP mode detected, launching server\n");

    const AppPaths paths = AppPaths::fromEnvironment();
    PreferenceStore preferences(paths);
    MCPToolCatalogue tools;
    MCPServer server(preferences, tools);
    MCPStdioTransport transport(STDIN_FILENO, STDOUT_FILENO, log);
    return MCPStdioSession(transport, server, log).run();
}

int runForwarder(int, char**, const LaunchOptions& options)
{
    for (const QString& url : options.urls)
        std::fprintf(stderr, "Quillo: cannot carry out %s: no command channel in this build\n", qPrintable(url));
    return 1;
}

int runInstance(int argc, char** argv, const LaunchOptions& options)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quillo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLO_VERSION));

    const AppPaths paths = AppPaths::fromEnvironment();
    LogSink::installForInstance(paths.logFile());
    if (!paths.ensureExists())
        qCWarning(lcApp).noquote() << "⚠️ Could not create Quillo's folders under" << paths.dataDir();
    if (options.mode == RunMode::Desktop)
        qCInfo(lcApp).noquote() << "Windows are not part of this build yet; running without them";

    PreferenceStore preferences(paths);
    QuilloInstance instance(paths, options, preferences);

    UnixSignalWatcher signals;
    signals.watch(SIGINT);
    signals.watch(SIGTERM);
    QObject::connect(&signals, &UnixSignalWatcher::unixSignal, &app, [](int signalNumber) {
        qCInfo(lcApp).noquote() << "Received signal" << signalNumber << "- shutting down";
        QCoreApplication::quit();
    });

    instance.launch();
    const int status = app.exec();
    preferences.sync();
    qCInfo(lcApp).noquote() << "Quillo stopped";
    return status;
}

} // namespace RunModes
