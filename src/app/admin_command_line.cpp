#include "app/admin_command_line.h"

#include "app/launch_options.h"
#include "channel/command_channel_client.h"
#include "commands/admin_commands.h"
#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

#include <cstdio>

namespace {

constexpr int kUsageError = 2;

void print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

int usage(const QString& problem)
{
    print(stderr, QStringLiteral("❌ ") + problem);
    print(stderr, QStringLiteral("Usage: quillo config list | config get KEY | config set KEY VALUE\n"
                                 "       quillo export-schedule|import-schedule|export-accounts|import-accounts FILE"));
    return kUsageError;
}

int report(const CommandOutcome& outcome)
{
    print(stderr, (outcome.ok ? QStringLiteral("✅ ") : QStringLiteral("❌ ")) + outcome.message);
    return outcome.ok ? 0 : 1;
}

// The running instance carries the change out; without one it is made here.
int carryOut(const AppPaths& paths, const QUrl& url)
{
    CommandChannelClient::Options options;
    options.autoStart = false;
    options.desktopOpener.clear();
    CommandChannelClient client(paths, options);
    if (const auto outcome = client.trySend(url.toString(QUrl::FullyEncoded), CommandChannelClient::kDefaultReplyTimeout)) {
        if (outcome->ok) {
            const CommandOutcome stored = client.sync();
            if (!stored.ok)
                return report(stored);
        }
        return report(*outcome);
    }
    PreferenceStore preferences(paths);
    SchedulerService scheduler(preferences);
    scheduler.loadPosts();
    AccountManager accounts(preferences);
    AdminCommands admin(preferences, scheduler, accounts);
    const CommandOutcome outcome = admin.run(url);
    scheduler.waitForPendingSaves();
    preferences.sync();
    return report(outcome);
}

QString shownValue(const PreferenceStore& preferences, const PreferenceKey& key)
{
    if (key.type == PreferenceType::data)
        return preferences.data(key.name).has_value() ? QStringLiteral("(document)") : QStringLiteral("(none)");
    if (const auto stored = preferences.value(key.name)) {
        if (key.type == PreferenceType::boolean && !PreferenceStore::strictBool(*stored))
            return QStringLiteral("%1 (not a Boolean: %2 applies)")
                .arg(stored->toString(), PreferenceKeys::displayText(key, key.defaultValue));
        if (key.type == PreferenceType::stringList)
            return PreferenceKeys::displayText(key, *preferences.stringListValue(key.name));
        return PreferenceKeys::displayText(key, *stored);
    }
    if (key.defaultValue.isValid())
        return PreferenceKeys::displayText(key, key.defaultValue) + QStringLiteral(" (default)");
    return QStringLiteral("(not set)");
}

int config(const AppPaths& paths, const QStringList& words)
{
    const QString verb = words.value(0);
    if (verb == QLatin1String("list") && words.size() == 1) {
        PreferenceStore preferences(paths);
        for (const PreferenceKey& key : PreferenceKeys::all()) {
            print(stdout, QStringLiteral("%1 (%2) = %3")
                              .arg(QString(key.name), PreferenceKeys::typeName(key.type), shownValue(preferences, key)));
        }
        return 0;
    }
    if (verb == QLatin1String("get") && words.size() == 2) {
        const PreferenceKey* key = PreferenceKeys::find(words[1]);
        if (!key)
            return report(CommandOutcome::failure(
                QStringLiteral("Unknown setting: '%1' (quillo config list shows them all)").arg(words[1])));
        const PreferenceStore preferences(paths);
        print(stdout, shownValue(preferences, *key));
        return 0;
    }
    if (verb == QLatin1String("set") && words.size() == 3) {
        // Refused here already, with the same words the instance would use.
        const PreferenceKey* key = PreferenceKeys::find(words[1]);
        if (!key)
            return report(CommandOutcome::failure(
                QStringLiteral("Unknown setting: '%1' (quillo config list shows them all)").arg(words[1])));
        if (const QString error = PreferenceKeys::parseValue(*key, words[2]).error; !error.isEmpty())
            return report(CommandOutcome::failure(error));
        return carryOut(paths, AdminCommands::configSetUrl(words[1], words[2]));
    }
    return usage(QStringLiteral("config takes list, get KEY or set KEY VALUE"));
}

} // namespace

namespace AdminCommandLine {

int run(const LaunchOptions& options)
{
    // The stores' progress lines are the instance log's; here only warnings and the
    // outcome reach the terminal.
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.*.info=false\nquillo.*.debug=false"));
    const AppPaths paths = AppPaths::fromEnvironment();
    if (!paths.ensureExists()) {
        print(stderr, QStringLiteral("❌ Could not create Quillo's folders under ") + paths.dataDir());
        return 1;
    }
    const QStringList& words = options.commandArguments;
    if (options.mode == RunMode::config)
        return config(paths, words);
    if (words.size() != 2)
        return usage(words.value(0) + QStringLiteral(" takes one file"));
    // The instance runs elsewhere: it gets the file as an absolute path.
    const QString file = QDir::current().absoluteFilePath(words[1]);
    return carryOut(paths, AdminCommands::transferUrl(words[0], QDir::cleanPath(file)));
}

} // namespace AdminCommandLine
