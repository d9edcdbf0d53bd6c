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

    // Why a platform of a post is or is not published to.
    enum class Outcome {
        unknownPlatform,
        platformDisabled,
        storedAccounts,
        defaultAccount,
        defaultDisabled,
        fallbackAccounts,
        noFallbackAccounts,
        enabledAccounts,
        noEnabledAccounts,
        chosenAccount,
        noChosenAccount,
    };

    AccountSelection(const QList<SocialAccount>& accounts, const QList<PlatformType>& enabledPlatforms);

    // One decision per name in post.platforms, in order.
    QList<Decision> evaluate(const ScheduledPost& post) const;
    Decision evaluate(const ScheduledPost& post, const QString& platformName) const;
    // Whether any platform of the post is included: evaluate() without the texts, for
    // passes over every stored post.
    bool reachesAny(const ScheduledPost& post) const;

    // The concrete accounts the post is published through on one platform.
    QList<SocialAccount> accountsFor(const ScheduledPost& post, PlatformType platform) const;

private:
    Outcome outcome(const ScheduledPost& post, std::optional<PlatformType> platform) const;
    QList<SocialAccount> enabledAccounts(PlatformType platform) const;
    bool anyEnabled(PlatformType platform) const;
    bool anyStoredEnabled(const ScheduledPost& post, PlatformType platform) const;
    const SocialAccount* defaultAccount(PlatformType platform) const;
    QList<SocialAccount> storedEnabledAccounts(const ScheduledPost& post, PlatformType platform) const;

    const QList<SocialAccount>& m_accounts;
    const QList<PlatformType>& m_enabledPlatforms;
};
