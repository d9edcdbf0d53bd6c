#include "commands/admin_commands.h"

#include "commands/commands_log.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/platform_type.h"
#include "model/video_export_preset.h"
#include "store/account_manager.h"
#include "store/scheduler_service.h"
#include "store/transfer_error.h"

#include <QFileInfo>
#include <QUrlQuery>

namespace {

QString queryValue(const QUrl& url, const char* name)
{
    return QUrlQuery(url).queryItemValue(QString::fromLatin1(name), QUrl::FullyDecoded);
}

QUrl adminUrl(const QString& action, const QList<std::pair<QString, QString>>& items)
{
    QUrl url;
    url.setScheme(QString::fromLatin1(AdminCommands::kScheme));
    url.setHost(action);
    QUrlQuery query;
    for (const auto& [name, value] : items)
        query.addQueryItem(name, QString::fromLatin1(QUrl::toPercentEncoding(value)));
    url.setQuery(query);
    return url;
}

} // namespace

AdminCommands::AdminCommands(PreferenceStore& preferences, SchedulerService& scheduler, AccountManager& accounts)
    : m_preferences(preferences)
    , m_scheduler(scheduler)
    , m_accounts(accounts)
{
}

bool AdminCommands::isAdminUrl(const QUrl& url)
{
    return url.scheme() == QLatin1String(kScheme);
}

QUrl AdminCommands::configSetUrl(const QString& key, const QString& value)
{
    return adminUrl(QStringLiteral("config-set"), {{QStringLiteral("key"), key}, {QStringLiteral("value"), value}});
}

QUrl AdminCommands::transferUrl(const QString& action, const QString& filePath)
{
    return adminUrl(action, {{QStringLiteral("file"), filePath}});
}

CommandOutcome AdminCommands::run(const QUrl& url)
{
    const QString action = url.host();
    if (action == QLatin1String("config-set"))
        return configSet(queryValue(url, "key"), queryValue(url, "value"));
    return transfer(action, queryValue(url, "file"));
}

CommandOutcome AdminCommands::configSet(const QString& name, const QString& text)
{
    const PreferenceKey* key = PreferenceKeys::find(name);
    if (!key)
        return CommandOutcome::failure(QStringLiteral("Unknown setting: '%1' (quillo config list shows them all)").arg(name));
    const PreferenceKeys::ParsedValue parsed = PreferenceKeys::parseValue(*key, text);
    if (!parsed.error.isEmpty())
        return CommandOutcome::failure(parsed.error);
    const bool isPreset = key->name == PreferenceKeys::PublishingExportPreset || key->name == PreferenceKeys::VideoEditorExportPreset;
    if (isPreset && !videoExportPresetFromRawValue(text))
        return CommandOutcome::failure(
            QStringLiteral("%1 takes original, socialMedia, hd, fullHD or fourK, not '%2'").arg(name, text));
    if (key->name == PreferenceKeys::SocialPlatforms) {
        // Through the account manager, so the instance's own list changes with the setting.
        QList<PlatformType> chosen;
        for (const QString& raw : parsed.value.toStringList()) {
            const auto platform = platformTypeFromRawValue(raw);
            if (!platform)
                return CommandOutcome::failure(QStringLiteral("%1 takes a list of x, bluesky and mastodon, not '%2'").arg(name, raw));
            chosen << *platform;
        }
        for (const PlatformType platform : allPlatformTypes())
            m_accounts.setPlatformEnabled(platform, chosen.contains(platform));
    } else {
        m_preferences.setValue(key->name, parsed.value);
    }
    qCInfo(lcCommands).noquote() << QStringLiteral("⚙️ Setting %1 = %2").arg(name, PreferenceKeys::displayText(*key, parsed.value));
    return CommandOutcome::success(QStringLiteral("%1 = %2").arg(name, PreferenceKeys::displayText(*key, parsed.value)));
}

CommandOutcome AdminCommands::transfer(const QString& action, const QString& filePath)
{
    if (filePath.isEmpty() || !QFileInfo(filePath).isAbsolute())
        return CommandOutcome::failure(QStringLiteral("%1 needs an absolute file path").arg(action));
    try {
        if (action == QLatin1String("export-schedule")) {
            m_scheduler.exportToFile(filePath);
            return CommandOutcome::success(QStringLiteral("Exported %1 scheduled posts to %2")
                                               .arg(m_scheduler.scheduledPosts().size())
                                               .arg(filePath));
        }
        if (action == QLatin1String("import-schedule")) {
            m_scheduler.importFile(filePath);
            m_scheduler.waitForPendingSaves();
            return CommandOutcome::success(
                QStringLiteral("Imported %1 scheduled posts from %2").arg(m_scheduler.scheduledPosts().size()).arg(filePath));
        }
        if (action == QLatin1String("export-accounts")) {
            m_accounts.exportBackup(filePath);
            return CommandOutcome::success(
                QStringLiteral("Exported %1 accounts to %2").arg(m_accounts.accounts().size()).arg(filePath));
        }
        if (action == QLatin1String("import-accounts")) {
            m_accounts.importBackupFile(filePath);
            return CommandOutcome::success(
                QStringLiteral("Imported %1 accounts from %2").arg(m_accounts.accounts().size()).arg(filePath));
        }
    } catch (const TransferError& error) {
        qCWarning(lcCommands).noquote() << error.title() + QStringLiteral(": ") + error.message();
        return CommandOutcome::failure(error.title() + QStringLiteral(": ") + error.message());
    }
    return CommandOutcome::failure(QStringLiteral("Unknown admin action: '%1'").arg(action));
}
