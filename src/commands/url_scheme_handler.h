#pragma once

#include "commands/command_outcome.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <optional>

class AppEvents;

// Carries out quillo:// commands: links from other applications, scripts, and every
// command the MCP server sends. The action is the URL's host, its parameters the query
// items. In stealth mode a command changes stored state without raising any window or
// alert. Runs on the main thread, one command at a time.
class URLSchemeHandler : public QObject {
    Q_OBJECT
public:
    enum class Action { Compose, Schedule, Calendar, Settings, License, Open, Accounts, Scheduled };
    using Params = QMap<QString, QString>;

    URLSchemeHandler(AppEvents& events, QObject* parent = nullptr);

    QCoro::Task<CommandOutcome> handle(QUrl url);

    static QString expectedScheme();
    static std::optional<Action> actionForHost(const QString& host);
    static QString actionName(Action action);

private:
    QCoro::Task<CommandOutcome> run(Action action, Params params);
    CommandOutcome openCalendar(const Params& params);
    CommandOutcome openSettings(const Params& params);
    CommandOutcome openLicense(const Params& params);
    CommandOutcome activate();

    AppEvents& m_events;
};
