#pragma once

#include "channel/command_outcome.h"

#include <QString>
#include <QUrl>

class AccountManager;
class PreferenceStore;
class SchedulerService;

// What `quillo config set` and the backup commands (`export-schedule`, `import-accounts`,
// ...) ask of the stores: carried out by the running instance, whose in-memory lists
// would otherwise overwrite a change made beside it, or in the command's own process
// when none runs. They travel as quillo-admin:// URLs over the user-only command
// channel only: no desktop handler is registered for the scheme, so a link in a web
// page can never export credentials.
//
//   quillo-admin://config-set?key=MCP.Enabled&value=true
//   quillo-admin://export-accounts?file=/home/ada/accounts.json
class AdminCommands {
public:
    static constexpr const char* kScheme = "quillo-admin";

    AdminCommands(PreferenceStore& preferences, SchedulerService& scheduler, AccountManager& accounts);

    static bool isAdminUrl(const QUrl& url);
    static QUrl configSetUrl(const QString& key, const QString& value);
    // action is one of export-schedule, import-schedule, export-accounts, import-accounts.
    static QUrl transferUrl(const QString& action, const QString& filePath);

    CommandOutcome run(const QUrl& url);

private:
    CommandOutcome configSet(const QString& key, const QString& text);
    CommandOutcome transfer(const QString& action, const QString& filePath);

    PreferenceStore& m_preferences;
    SchedulerService& m_scheduler;
    AccountManager& m_accounts;
};
