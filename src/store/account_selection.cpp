#include "store/account_selection.h"

#include <algorithm>

namespace {

using Outcome = AccountSelection::Outcome;

bool isIncluded(Outcome outcome)
{
    switch (outcome) {
    case Outcome::storedAccounts:
    case Outcome::defaultAccount:
    case Outcome::fallbackAccounts:
    case Outcome::enabledAccounts:
    case Outcome::chosenAccount:
        return true;
    default:
        return false;
    }
}

QString reasonText(Outcome outcome)
{
    switch (outcome) {
    case Outcome::unknownPlatform: return QStringLiteral("filtered out: unknown platform");
    case Outcome::platformDisabled: return QStringLiteral("filtered out: platform type not enabled");
    case Outcome::storedAccounts: return QStringLiteral("included: has stored enabled accounts");
    case Outcome::defaultAccount: return QStringLiteral("included: default account is enabled");
    case Outcome::defaultDisabled: return QStringLiteral("filtered out: default account is disabled");
    case Outcome::fallbackAccounts: return QStringLiteral("included: has enabled accounts (fallback)");
    case Outcome::noFallbackAccounts: return QStringLiteral("filtered out: no enabled accounts (fallback)");
    case Outcome::enabledAccounts: return QStringLiteral("included: has enabled accounts");
    case Outcome::noEnabledAccounts: return QStringLiteral("filtered out: no enabled accounts");
    case Outcome::chosenAccount: return QStringLiteral("included: has enabled account");
    case Outcome::noChosenAccount: return QStringLiteral("filtered out: no enabled account found");
    }
    return {};
}

} // namespace

AccountSelection::AccountSelection(const QList<SocialAccount>& accounts, const QList<PlatformType>& enabledPlatforms)
    : m_accounts(accounts)
    , m_enabledPlatforms(enabledPlatforms)
{
}

QList<SocialAccount> AccountSelection::enabledAccounts(PlatformType platform) const
{
    QList<SocialAccount> result;
    for (const SocialAccount& account : m_accounts) {
        if (account.platform == platform && account.isEnabled)
            result.append(account);
    }
    return result;
}

const SocialAccount* AccountSelection::defaultAccount(PlatformType platform) const
{
    for (const SocialAccount& account : m_accounts) {
        if (account.platform == platform && account.isDefault)
            return &account;
    }
    return nullptr;
}

bool AccountSelection::anyEnabled(PlatformType platform) const
{
    return std::any_of(m_accounts.cbegin(), m_accounts.cend(), [platform](const SocialAccount& account) {
        return account.platform == platform && account.isEnabled;
    });
}

bool AccountSelection::anyStoredEnabled(const ScheduledPost& post, PlatformType platform) const
{
    const auto stored = post.accountIds.constFind(platform);
    if (stored == post.accountIds.cend())
        return false;
    return std::any_of(m_accounts.cbegin(), m_accounts.cend(), [&](const SocialAccount& account) {
        return account.platform == platform && account.isEnabled && stored->contains(account.id);
    });
}

// The accounts the post lists for the platform that still exist, are enabled and
// belong to that platform, in the post's order.
QList<SocialAccount> AccountSelection::storedEnabledAccounts(const ScheduledPost& post, PlatformType platform) const
{
    QList<SocialAccount> result;
    for (const QUuid& id : post.accountIds.value(platform)) {
        for (const SocialAccount& account : m_accounts) {
            if (account.id == id && account.platform == platform && account.isEnabled) {
                result.append(account);
                break;
            }
        }
    }
    return result;
}

AccountSelection::Outcome AccountSelection::outcome(const ScheduledPost& post, std::optional<PlatformType> platform) const
{
    if (!platform)
        return Outcome::unknownPlatform;
    if (!m_enabledPlatforms.contains(*platform))
        return Outcome::platformDisabled;
    switch (post.modeFor(*platform)) {
    case ScheduledPostingMode::defaults:
        if (anyStoredEnabled(post, *platform))
            return Outcome::storedAccounts;
        if (const SocialAccount* fallback = defaultAccount(*platform)) {
            // A disabled default is not replaced by another account.
            return fallback->isEnabled ? Outcome::defaultAccount : Outcome::defaultDisabled;
        }
        return anyEnabled(*platform) ? Outcome::fallbackAccounts : Outcome::noFallbackAccounts;
    case ScheduledPostingMode::allEnabled:
        return anyEnabled(*platform) ? Outcome::enabledAccounts : Outcome::noEnabledAccounts;
    case ScheduledPostingMode::specific:
        return anyStoredEnabled(post, *platform) ? Outcome::chosenAccount : Outcome::noChosenAccount;
    }
    return Outcome::noEnabledAccounts;
}

AccountSelection::Decision AccountSelection::evaluate(const ScheduledPost& post, const QString& platformName) const
{
    Decision result;
    result.platformName = platformName;
    result.platform = platformTypeFromName(platformName);
    const Outcome reached = outcome(post, result.platform);
    result.included = isIncluded(reached);
    result.reason = reasonText(reached);
    return result;
}

bool AccountSelection::reachesAny(const ScheduledPost& post) const
{
    return std::any_of(post.platforms.cbegin(), post.platforms.cend(), [&](const QString& name) {
        return isIncluded(outcome(post, platformTypeFromName(name)));
    });
}

QList<AccountSelection::Decision> AccountSelection::evaluate(const ScheduledPost& post) const
{
    QList<Decision> decisions;
    for (const QString& name : post.platforms)
        decisions.append(evaluate(post, name));
    return decisions;
}

QList<SocialAccount> AccountSelection::accountsFor(const ScheduledPost& post, PlatformType platform) const
{
    if (!m_enabledPlatforms.contains(platform))
        return {};
    switch (post.modeFor(platform)) {
    case ScheduledPostingMode::defaults: {
        const QList<SocialAccount> stored = storedEnabledAccounts(post, platform);
        if (!stored.isEmpty())
            return stored;
        if (const SocialAccount* fallback = defaultAccount(platform))
            return fallback->isEnabled ? QList<SocialAccount>{*fallback} : QList<SocialAccount>{};
        return enabledAccounts(platform);
    }
    case ScheduledPostingMode::allEnabled:
        return enabledAccounts(platform);
    case ScheduledPostingMode::specific:
        return storedEnabledAccounts(post, platform);
    }
    return {};
}
