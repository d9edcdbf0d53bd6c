#pragma once

#include "model/platform_type.h"
#include "model/social_account.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

class AccountManager;

// Finds the accounts a command names. An identifier matches an account of the platform
// whose id, user name or nickname equals it; for X a leading "@" is dropped first.
class AccountResolver {
public:
    explicit AccountResolver(const AccountManager& accounts);

    std::optional<SocialAccount> find(PlatformType platform, const QString& identifier) const;
    // The ids of the identifiers that match, in order and without repeats; the rest are
    // logged and left out.
    // Identifiers that match no account are logged and, when unmatched is given,
    // appended to it.
    QList<QUuid> resolve(PlatformType platform, const QStringList& identifiers, QStringList* unmatched = nullptr) const;

private:
    const AccountManager& m_accounts;
};
