#include "commands/account_commands.h"

#include "commands/account_resolver.h"
#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"
#include "events/app_events.h"
#include "platforms/mastodon/mastodon_account_connector.h"
#include "store/account_manager.h"

namespace {

CommandOutcome succeeded(const QString& text)
{
    qCInfo(lcCommands).noquote() << QStringLiteral("✅ URLSchemeHandler: ") + text;
    return CommandOutcome::success(text);
}

PlatformType platformFrom(const CommandParams& params, const QString& missingMessage)
{
    const QString name = params.value(QStringLiteral("platform")).trimmed();
    if (name.isEmpty())
        throw URLSchemeError::failed(missingMessage);
    const auto platform = platformTypeFromRawValue(name.toLower());
    if (!platform)
        throw URLSchemeError::failed(QStringLiteral("Invalid platform: ") + name + QStringLiteral(". Valid: x, bluesky, mastodon"));
    return *platform;
}

} // namespace

AccountCommands::AccountCommands(AccountManager& accounts, AppEvents& events, MastodonAccountConnector* mastodon)
    : m_accounts(accounts)
    , m_events(events)
    , m_mastodon(mastodon)
{
}

CommandOutcome AccountCommands::run(const CommandParams& params)
{
    const QString action = params.value(QStringLiteral("action"));
    if (action == QStringLiteral("add"))
        return add(params);
    if (action == QStringLiteral("remove"))
        return remove(params);
    if (action == QStringLiteral("edit"))
        return edit(params);
    if (action == QStringLiteral("set-default"))
        return setDefault(params);
    throw URLSchemeError::failed(QStringLiteral("Unknown accounts action: '") + action
                                 + QStringLiteral("'. Valid: add, remove, edit, set-default"));
}

SocialAccount AccountCommands::identify(PlatformType platform, const CommandParams& params, const QString& missingMessage) const
{
    QString identifier;
    for (const char16_t* key : {u"id", u"name", u"nickname"}) {
        identifier = params.value(QString::fromUtf16(key)).trimmed();
        if (!identifier.isEmpty())
            break;
    }
    if (identifier.isEmpty())
        throw URLSchemeError::failed(missingMessage);
    const auto account = AccountResolver(m_accounts).find(platform, identifier);
    if (!account)
        throw URLSchemeError::failed(QStringLiteral("Account not found"));
    return *account;
}

CommandOutcome AccountCommands::add(const CommandParams& params)
{
    const PlatformType platform = platformFrom(params, QStringLiteral("platform parameter required (x, bluesky, mastodon)"));
    const bool autoConnect = params.value(QStringLiteral("autoConnect")) != QStringLiteral("false");
    Q_EMIT m_events.addAccountRequested(platform, QStringLiteral("social-") + rawValue(platform));
    const QString instance = params.value(QStringLiteral("instance")).trimmed();
    if (platform == PlatformType::mastodon && !instance.isEmpty())
        Q_EMIT m_events.prefillMastodonInstanceRequested(instance);
    if (autoConnect && platform == PlatformType::mastodon && m_mastodon)
        m_mastodon->start(instance);
    else if (autoConnect)
        Q_EMIT m_events.accountConnectRequested(platform);
    return succeeded(QStringLiteral("Opened ") + rawValue(platform) + QStringLiteral(" account settings (addAccount=true, autoConnect=")
                     + (autoConnect ? QStringLiteral("true") : QStringLiteral("false")) + u')');
}

CommandOutcome AccountCommands::remove(const CommandParams& params)
{
    const PlatformType platform = platformFrom(params, QStringLiteral("platform parameter required"));
    const SocialAccount account = identify(platform, params, QStringLiteral("One of: id, name, or nickname required"));
    m_accounts.removeAccount(account.id);
    return succeeded(QStringLiteral("Removed account @") + account.name);
}

CommandOutcome AccountCommands::edit(const CommandParams& params)
{
    const PlatformType platform = platformFrom(params, QStringLiteral("platform parameter required"));
    SocialAccount account = identify(platform, params,
                                     QStringLiteral("One of: id, name, or nickname required to identify account"));
    const auto nickname = params.get(QStringLiteral("set-nickname"));
    const auto enabled = params.get(QStringLiteral("set-enabled"));
    if (!nickname && !enabled)
        throw URLSchemeError::failed(QStringLiteral("At least one edit parameter required: set-nickname, set-enabled"));
    if (enabled && *enabled != QStringLiteral("true") && *enabled != QStringLiteral("false"))
        throw URLSchemeError::invalidParameter(QStringLiteral("set-enabled must be 'true' or 'false'"));
    if (nickname) {
        // An empty nickname clears it, so the user name shows again.
        account.nickname = nickname->trimmed().isEmpty() ? std::nullopt : std::optional<QString>(nickname->trimmed());
    }
    if (enabled)
        account.isEnabled = *enabled == QStringLiteral("true");
    m_accounts.updateAccount(account);
    return succeeded(QStringLiteral("Updated account @") + account.name);
}

CommandOutcome AccountCommands::setDefault(const CommandParams& params)
{
    const PlatformType platform = platformFrom(params, QStringLiteral("platform parameter required"));
    if (m_accounts.accounts(platform).isEmpty())
        throw URLSchemeError::failed(QStringLiteral("No accounts found for platform: ") + rawValue(platform));
    const SocialAccount account = identify(platform, params, QStringLiteral("One of: id, name, or nickname required"));
    m_accounts.setDefault(account.id);
    return succeeded(QStringLiteral("Set @") + account.name + QStringLiteral(" as default for ") + rawValue(platform));
}
