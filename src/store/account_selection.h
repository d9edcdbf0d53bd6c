#pragma once

#include "model/platform_type.h"
#include "model/scheduled_post.h"
#include "model/social_account.h"

#include <QList>
#include <QString>

// The rules that decide through which accounts a scheduled post goes. Pure functions
// of the accounts, the enabled platforms and the post, so they can be checked as a
// table; AccountManager feeds them its state and logs the decisions.
class AccountSelection {
public:
    struct Decision {
        // The name as the post stores it.
        QString platformName;
        std::optional<PlatformType> platform;
        bool included = false;
        // "included: ..." or "filtered out: ...".
        QString reason;
    };

    AccountSelection(const QList<SocialAccount>& accounts, const QList<PlatformType>& enabledPlatforms);

    // One decision per name in post.platforms, in order.
    QList<Decision> evaluate(const ScheduledPost& post) const;
    Decision evaluate(const ScheduledPost& post, const QString& platformName) const;

    // The concrete accounts the post is published through on one platform.
    QList<SocialAccount> accountsFor(const ScheduledPost& post, PlatformType platform) const;

private:
    QList<SocialAccount> enabledAccounts(PlatformType platform) const;
    const SocialAccount* defaultAccount(PlatformType platform) const;
    QList<SocialAccount> storedEnabledAccounts(const ScheduledPost& post, PlatformType platform) const;

    const QList<SocialAccount>& m_accounts;
    const QList<PlatformType>& m_enabledPlatforms;
};
