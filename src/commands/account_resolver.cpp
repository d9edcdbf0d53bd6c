#include "commands/account_resolver.h"

#include "commands/commands_log.h"
#include "store/account_manager.h"

AccountResolver::AccountResolver(const AccountManager& accounts)
    : m_accounts(accounts)
{
}

std::optional<SocialAccount> AccountResolver::find(PlatformType platform, const QString& identifier) const
{
    QString wanted = identifier.trimmed();
    if (platform == PlatformType::x && wanted.startsWith(u'@')) {
        wanted = wanted.mid(1);
        qCInfo(lcCommands).noquote() << QStringLiteral("🔍 URLSchemeHandler: Stripped @ for X account: '") + identifier
                + QStringLiteral("' → '") + wanted + u'\'';
    }
    if (wanted.isEmpty())
        return std::nullopt;
    const QUuid asId = QUuid::fromString(wanted);
    const QList<SocialAccount> candidates = m_accounts.accounts(platform);
    for (const SocialAccount& account : candidates) {
        if ((!asId.isNull() && account.id == asId) || account.name == wanted || account.nickname == wanted)
            return account;
    }
    return std::nullopt;
}

QList<QUuid> AccountResolver::resolve(PlatformType platform, const QStringList& identifiers, QStringList* unmatched) const
{
    QList<QUuid> ids;
    for (const QString& identifier : identifiers) {
        const auto account = find(platform, identifier);
        if (!account) {
            qCWarning(lcCommands).noquote() << QStringLiteral("⚠️ URLSchemeHandler: Could not find account '") + identifier
                    + QStringLiteral("' for ") + rawValue(platform);
            if (unmatched)
                unmatched->append(QStringLiteral("'%1' (%2)").arg(identifier, rawValue(platform)));
            continue;
        }
        if (!ids.contains(account->id))
            ids << account->id;
    }
    return ids;
}
