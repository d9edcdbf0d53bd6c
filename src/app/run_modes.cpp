#include "app/run_modes.h"

#include "app/account_connectors.h"
#include "app/app_log.h"
#include "app/launch_options.h"
#include "app/publishing_stack.h"
#include "app/quillo_instance.h"
#include "app/unix_signal_watcher.h"
#include "app/window_host.h"
#include "channel/command_channel_client.h"
#include "channel/command_channel_server.h"
#include "commands/admin_commands.h"
#include "commands/command_router.h"
#include "commands/media_importer.h"
#include "commands/url_scheme_handler.h"
#include "core/app_paths.h"
#include "core/endpoints.h"
#include "core/log_sink.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "core/xdg_url_opener.h"
#include "events/app_events.h"
#include "mcp/channel_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_stdio_session.h"
#include "mcp/mcp_stdio_transport.h"
#include "mcp/mcp_tool_handlers.h"
#include "media/worker_image_encoder.h"
#include "platforms/bluesky/blue_sky_account_connector.h"
#include "platforms/mastodon/mastodon_account_connector.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/oauth/xdg_scheme_handler_check.h"
#include "platforms/x/x_account_connector.h"
#include "store/account_manager.h"
#include "store/media_folder.h"
#include "store/scheduler_service.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QProcessEnvironment>

#include <qcoro/qcorotask.h>

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
    MCPStateReader state(preferences, paths.deliveriesDir());
    ChannelCommandSender commands(paths);
    const SystemClock clock;
    MCPToolHandlers tools(state, commands, log, clock);
    MCPServer server(preferences, tools);
    MCPStdioTransport transport(STDIN_FILENO, STDOUT_FILENO, log);
    return MCPStdioSession(transport, server, log).run();
}

namespace {

void printOutcome(const CommandOutcome& outcome)
{
    const QString line = (outcome.ok ? QStringLiteral("✅ ") : QStringLiteral("❌ "))
        + (outcome.message.isEmpty() ? QStringLiteral("Done") : outcome.message) + u'\n';
    std::fputs(line.toUtf8().constData(), stderr);
}

// A second start while an instance runs: the desktop start brings that instance to the
// front, a headless one has nothing to add.
int handOverToRunningInstance(const AppPaths& paths, const LaunchOptions& options)
{
    if (options.mode == RunMode::headless) {
        qCInfo(lcApp).noquote() << "Quillo is already running; nothing to start";
        return 0;
    }
    CommandChannelClient client(paths);
    const auto outcome = client.trySend(QStringLiteral("quillo://open"), CommandChannelClient::kDefaultReplyTimeout);
    if (!outcome) {
        qCWarning(lcApp).noquote() << "❌ Quillo is already running but does not answer";
        return 1;
    }
    return outcome->ok ? 0 : 1;
}

// Stands in for the browser where QUILLO_NO_DESKTOP_OPENER forbids reaching the desktop
// (tests): the sign-in page is only logged.
class NoBrowser : public UrlOpener {
public:
    bool open(const QUrl&) override { return false; }
};

// The Mastodon sign-in speaks through the log: which page to open, and how to hand back a
// code when no quillo:// handler is registered. Without windows it also raises alerts;
// with them the settings' Mastodon form shows both and the failure.
void reportMastodonSignIn(MastodonAccountConnector& connector, AppEvents& events, bool alerts)
{
    QObject::connect(&connector, &MastodonAccountConnector::authorizationRequested, &events,
                     [&events, alerts](const QUrl& page, bool pasteCode) {
                         const QString where = page.toString(QUrl::FullyEncoded);
                         if (!pasteCode) {
                             qCInfo(lcApp).noquote() << QStringLiteral("🔑 Sign in to Mastodon in the browser: ") + where;
                             return;
                         }
                         const QString text = QStringLiteral("Sign in to Mastodon at %1, then hand the code shown there "
                                                             "to Quillo: quillo 'quillo://oauth?code=CODE'")
                                                  .arg(where);
                         qCInfo(lcApp).noquote() << QStringLiteral("🔑 ") + text;
                         if (alerts)
                             Q_EMIT events.alertRequested(QStringLiteral("Mastodon sign-in"), text);
                     });
    if (!alerts)
        return;
    QObject::connect(&connector, &MastodonAccountConnector::connectionFailed, &events,
                     [&events](PlatformType, const QString& message) {
                         Q_EMIT events.alertRequested(QStringLiteral("Mastodon"), message);
                     });
}

XHosts xHostsFrom(const Endpoints& endpoints)
{
    XHosts hosts;
    if (const auto base = endpoints.baseFor(QStringLiteral("x"))) {
        hosts.api = *base;
        hosts.web = *base;
    }
    return hosts;
}

} // namespace

int runForwarder(int, char**, const LaunchOptions& options)
{
    // No application object: the client blocks on the socket and needs no event loop.
    CommandChannelClient client(AppPaths::fromEnvironment());
    bool allSucceeded = true;
    for (const QString& url : options.urls) {
        const CommandOutcome outcome = client.send(url);
        printOutcome(outcome);
        allSucceeded = allSucceeded && outcome.ok;
    }
    // Scripts read the stored documents right after the forwarder returns.
    const CommandOutcome stored = client.sync();
    if (!stored.ok)
        printOutcome(stored);
    return allSucceeded && stored.ok ? 0 : 1;
}

int runInstance(int argc, char** argv, const LaunchOptions& options, WindowHost* windows)
{
    const std::unique_ptr<QCoreApplication> app =
        windows ? windows->createApplication(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quillo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUILLO_VERSION));

    const AppPaths paths = AppPaths::fromEnvironment();
    // Static: the log handler stamps lines until the very end of the process.
    static const SystemClock clock;
    LogSink::installForInstance(paths.logFile(), clock);
    if (!paths.ensureExists())
        qCWarning(lcApp).noquote() << "⚠️ Could not create Quillo's folders under" << paths.dataDir();

    AppEvents events;
    // Without windows nobody subscribes, so every request is logged instead.
    if (!windows)
        events.logRequestsWithoutWindows();
    PreferenceStore preferences(paths);
    SchedulerService scheduler(preferences);
    AccountManager accounts(preferences);
    QNetworkAccessManager network;
    WorkerImageEncoder images(WorkerImageEncoder::defaultWorkerPath());
    MediaImporter media(paths.mediaDir(), network, images);
    OAuthCallbackHub oauthCallbacks;
    URLSchemeHandler urlCommands(events, scheduler, accounts, media, clock);
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    XdgUrlOpener desktopBrowser;
    NoBrowser noBrowser;
    const bool mayOpenBrowser = !environment.contains(QLatin1String(CommandChannelClient::kNoOpenerVariable));
    XdgSchemeHandlerCheck schemes;
    MastodonAccountConnector mastodon(network, oauthCallbacks, accounts,
                                      mayOpenBrowser ? static_cast<UrlOpener&>(desktopBrowser) : noBrowser, clock, images,
                                      schemes, Endpoints::fromEnvironment(environment));
    reportMastodonSignIn(mastodon, events, !windows);
    urlCommands.setMastodonConnector(&mastodon);
    urlCommands.setPreferences(&preferences);
    // Commands that only open a window say so when there is none.
    if (!windows)
        urlCommands.setWindowless(options.mode == RunMode::headless ? QStringLiteral("No window in headless mode")
                                                                    : QStringLiteral("No window in this build"));
    // The Bluesky form's connect button (also pressed by `quillo://accounts?action=add`).
    // With windows the settings' form presses it and shows the progress; without, the
    // typed credentials are connected here.
    BlueSkyAccountConnector blueSkyConnector(network, accounts, clock,
                                             Endpoints::fromEnvironment(environment));
    if (!windows)
        QObject::connect(&events, &AppEvents::accountConnectRequested, &blueSkyConnector,
                         [&blueSkyConnector](PlatformType platform) {
                             if (platform == PlatformType::bluesky)
                                 QCoro::connect(blueSkyConnector.connectTypedCredentials(), &blueSkyConnector,
                                                [](const std::optional<SocialAccount>&) {});
                         });
    XAccountConnector xConnector(network, oauthCallbacks, accounts,
                                 mayOpenBrowser ? static_cast<UrlOpener&>(desktopBrowser) : noBrowser, clock,
                                 xHostsFrom(Endpoints::fromEnvironment(environment)));
    const AccountConnectors connectors{xConnector, blueSkyConnector, mastodon};
    CommandRouter router(oauthCallbacks, urlCommands);
    AdminCommands admin(preferences, scheduler, accounts);
    router.setAdminCommands(&admin);
    CommandChannelServer channel(
        paths, [&router](QString url) { return router.route(std::move(url)); },
        [&scheduler] {
            scheduler.waitForPendingSaves();
            return scheduler.lastSaveSucceeded();
        });
    switch (channel.start()) {
    case CommandChannelServer::StartResult::listening:
        break;
    case CommandChannelServer::StartResult::alreadyRunning:
        return handOverToRunningInstance(paths, options);
    case CommandChannelServer::StartResult::failed:
        qCCritical(lcApp).noquote() << "❌ Cannot start the command channel:" << channel.errorString();
        return 1;
    }

    if (options.mode == RunMode::desktop && !windows)
        qCInfo(lcApp).noquote() << "The windows are not installed; running without them";
    QuilloInstance instance(paths, options, preferences);
    PublishingStack publishing(paths, preferences, scheduler, accounts, network, clock);

    UnixSignalWatcher signals;
    signals.watch(SIGINT);
    signals.watch(SIGTERM);
    QObject::connect(&signals, &UnixSignalWatcher::unixSignal, app.get(), [](int signalNumber) {
        qCInfo(lcApp).noquote() << "Received signal" << signalNumber << "- shutting down";
        QCoreApplication::quit();
    });

    instance.launch();
    // After launch: a UI-test reset may just have cleared the store. Commands that
    // arrived meanwhile wait in the channel's queue until the loop runs.
    accounts.reload();
    scheduler.loadPosts();
    // Files that no stored post or draft refers to any more (deleted posts, imports that
    // never became a post). Before the loop runs, so no command is adding one meanwhile.
    const QStringList orphans = MediaFolder(paths.mediaDir()).removeOrphans(preferences);
    if (!orphans.isEmpty())
        qCInfo(lcApp).noquote() << QStringLiteral("🧹 Removed %1 unused media files").arg(orphans.size());
    publishing.start();
    std::unique_ptr<QObject> windowObjects;
    if (windows)
        windowObjects = windows->createWindows(
            {paths, events, preferences, scheduler, accounts, publishing.publishing(), clock, &connectors});
    if (windowObjects && instance.onboardingDue())
        Q_EMIT events.onboardingRequested();
    const int status = QCoreApplication::exec();
    windowObjects.reset();
    scheduler.waitForPendingSaves();
    preferences.sync();
    qCInfo(lcApp).noquote() << "Quillo stopped";
    return status;
}

} // namespace RunModes
