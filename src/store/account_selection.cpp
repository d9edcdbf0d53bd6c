#include "store/account_selection.h"

namespace {

AccountSelection::Decision decision(bool included, const char* reason)
{
    AccountSelection::Decision result;
    result.included = included;
    result.reason = QString::fromUtf8(reason);
    return result;
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

AccountSelection::Decision AccountSelection::evaluate(const ScheduledPost& post, const QString& platformName) const
{
    const auto platform = platformTypeFromName(platformName);
    Decision result;
    if (!platform) {
        result = decision(false, "filtered out: unknown platform");
    } else if (!m_enabledPlatforms.contains(*platform)) {
        result = decision(false, "filtered out: platform type not enabled");
    } else {
        switch (post.modeFor(*platform)) {
        case ScheduledPostingMode::defaults:
            if (!storedEnabledAccounts(post, *platform).isEmpty()) {
                result = decision(true, "included: has stored enabled accounts");
            } else if (const SocialAccount* fallback = defaultAccount(*platform)) {
                // A disabled default is not replaced by another account.
                result = fallback->isEnabled ? decision(true, "included: default account is enabled")
                                             : decision(false, "filtered out: default account is disabled");
            } else {
                result = enabledAccounts(*platform).isEmpty()
                    ? decision(false, "filtered out: no enabled accounts (fallback)")
                    : decision(true, "included: has enabled accounts (fallback)");
            }
            break;
        case ScheduledPostingMode::allEnabled:
            result = enabledAccounts(*platform).isEmpty() ? decision(false, "filtered out: no enabled accounts")
                                                           : decision(true, "included: has enabled accounts");
            break;
        case ScheduledPostingMode::specific:
            result = storedEnabledAccounts(post, *platform).isEmpty()
                ? decision(false, "filtered out: no enabled account found")
                : decision(true, "included: has enabled account");
            break;
        }
    }
    result.platformName = platformName;
    result.platform = platform;
    return result;
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
