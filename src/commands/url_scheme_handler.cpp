#include "commands/url_scheme_handler.h"

#include "app/app_events.h"
#include "commands/command_date_parser.h"
#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"

#include <QUrlQuery>

namespace {

const QString kLogPrefix = QStringLiteral("📱 URLSchemeHandler: ");

// The success log line, and the same words (without the marker) as the reply.
CommandOutcome succeeded(const QString& text)
{
    qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: ") + text;
    return CommandOutcome::success(text);
}

URLSchemeHandler::Params queryParams(const QUrl& url)
{
    URLSchemeHandler::Params params;
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    for (const auto& [name, value] : items)
        params.insert(name, value);
    return params;
}

QString describe(const URLSchemeHandler::Params& params)
{
    QStringList entries;
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        entries << u'"' + it.key() + QStringLiteral("\": \"") + it.value() + u'"';
    return u'[' + (entries.isEmpty() ? QStringLiteral(":") : entries.join(QStringLiteral(", "))) + u']';
}

bool isStealth(const URLSchemeHandler::Params& params)
{
    return params.value(QStringLiteral("stealthMode")) == QStringLiteral("true");
}

} // namespace

URLSchemeHandler::URLSchemeHandler(AppEvents& events, QObject* parent)
    : QObject(parent)
    , m_events(events)
{
}

QString URLSchemeHandler::expectedScheme()
{
    // Linux has no declared URL types to read: the scheme is fixed by the .desktop file.
    return QStringLiteral("quillo");
}

std::optional<URLSchemeHandler::Action> URLSchemeHandler::actionForHost(const QString& host)
{
    static const QMap<QString, Action> actions{
        {QStringLiteral("compose"), Action::Compose},   {QStringLiteral("schedule"), Action::Schedule},
        {QStringLiteral("calendar"), Action::Calendar}, {QStringLiteral("settings"), Action::Settings},
        {QStringLiteral("license"), Action::License},   {QStringLiteral("open"), Action::Open},
        {QStringLiteral("accounts"), Action::Accounts}, {QStringLiteral("scheduled"), Action::Scheduled},
    };
    const auto found = actions.constFind(host);
    if (found == actions.cend())
        return std::nullopt;
    return *found;
}

QString URLSchemeHandler::actionName(Action action)
{
    switch (action) {
    case Action::Compose: return QStringLiteral("compose");
    case Action::Schedule: return QStringLiteral("schedule");
    case Action::Calendar: return QStringLiteral("calendar");
    case Action::Settings: return QStringLiteral("settings");
    case Action::License: return QStringLiteral("license");
    case Action::Open: return QStringLiteral("open");
    case Action::Accounts: return QStringLiteral("accounts");
    case Action::Scheduled: return QStringLiteral("scheduled");
    }
    return {};
}

QCoro::Task<CommandOutcome> URLSchemeHandler::handle(QUrl url)
{
    qCInfo(lcCommands).noquote() << kLogPrefix + QStringLiteral("Processing URL: ") + url.toString();
    const Params params = queryParams(url);
    QString alertTitle = QStringLiteral("URL Scheme Error");
    CommandOutcome outcome;
    try {
        if (url.scheme() != expectedScheme())
            throw URLSchemeError::failed(QStringLiteral("Invalid URL scheme. Expected '") + expectedScheme() + u'\'');
        const auto action = actionForHost(url.host());
        if (!action) {
            alertTitle = QStringLiteral("Invalid URL Action");
            throw URLSchemeError::failed(QStringLiteral("Unknown action: '") + url.host()
                                         + QStringLiteral("'. Valid actions: compose, schedule, calendar, settings, "
                                                          "license, open, accounts"));
        }
        qCInfo(lcCommands).noquote() << kLogPrefix + QStringLiteral("Action=") + actionName(*action)
                + QStringLiteral(", Params") + describe(params);
        outcome = co_await run(*action, params);
    } catch (const URLSchemeError& error) {
        outcome = CommandOutcome::failure(error.message());
    }
    if (outcome.ok)
        co_return outcome;
    qCWarning(lcCommands).noquote() << QStringLiteral("❌ URLSchemeHandler: Error handling action: ") + outcome.message;
    if (!isStealth(params))
        Q_EMIT m_events.alertRequested(alertTitle, outcome.message);
    co_return outcome;
}

QCoro::Task<CommandOutcome> URLSchemeHandler::run(Action action, Params params)
{
    switch (action) {
    case Action::Calendar: co_return openCalendar(params);
    case Action::Settings: co_return openSettings(params);
    case Action::License: co_return openLicense(params);
    case Action::Open: co_return activate();
    case Action::Compose:
    case Action::Schedule:
    case Action::Accounts:
    case Action::Scheduled:
        break;
    }
    throw URLSchemeError::failed(actionName(action) + QStringLiteral(" is not available in this build yet"));
}

CommandOutcome URLSchemeHandler::openCalendar(const Params& params)
{
    QDateTime date;
    if (params.contains(QStringLiteral("date"))) {
        const auto parsed = CommandDateParser::parse(params.value(QStringLiteral("date")), QTimeZone::systemTimeZone());
        if (parsed)
            date = *parsed;
    }
    Q_EMIT m_events.calendarRequested(params.value(QStringLiteral("view")), date, params.value(QStringLiteral("status")));
    return succeeded(QStringLiteral("Opened calendar"));
}

CommandOutcome URLSchemeHandler::openSettings(const Params& params)
{
    Q_EMIT m_events.settingsRequested(params.value(QStringLiteral("section"), QStringLiteral("general")));
    return succeeded(QStringLiteral("Opened settings"));
}

CommandOutcome URLSchemeHandler::openLicense(const Params& params)
{
    const QString action = params.value(QStringLiteral("action"));
    Q_EMIT m_events.licenseRequested(action);
    return succeeded(QStringLiteral("Opened license (") + action + u')');
}

CommandOutcome URLSchemeHandler::activate()
{
    Q_EMIT m_events.activateRequested();
    return succeeded(QStringLiteral("Activated app"));
}
