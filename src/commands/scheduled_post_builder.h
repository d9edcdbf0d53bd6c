#pragma once

#include "commands/account_resolver.h"
#include "commands/command_params.h"
#include "model/scheduled_post.h"

#include <QTimeZone>

class AccountManager;

// Applies the scheduling parameters of a command to a ScheduledPost: the same rules
// serve `schedule` (a new post) and `scheduled` edits. Every step leaves the post alone
// when its parameter is absent; a malformed value throws URLSchemeError.
class ScheduledPostBuilder {
public:
    explicit ScheduledPostBuilder(const AccountManager& accounts);

    // `timezone`: the zone the date was picked in; zone-less dates are read in it.
    void applyTimeZone(ScheduledPost& post, const CommandParams& params) const;
    // `date`, in one of the accepted forms.
    void applyDate(ScheduledPost& post, const CommandParams& params) const;
    // `platforms`; unknown names are logged and skipped. With useEnabledWhenAbsent and
    // no parameter, the globally enabled platforms.
    void applyPlatforms(ScheduledPost& post, const CommandParams& params, bool useEnabledWhenAbsent) const;
    // `postingMode`, `xMode`, `blueskyMode`, `mastodonMode`, `xAccounts`,
    // `blueskyAccounts`, `mastodonAccounts`, `xShareWithFollowers` and `accounts`.
    // An account identifier that matches no account fails the whole command, naming
    // every such identifier: a platform chosen with no account would publish nowhere.
    void applyAccounts(ScheduledPost& post, const CommandParams& params) const;

    static QTimeZone zoneOf(const ScheduledPost& post);

private:
    void applyModes(ScheduledPost& post, const CommandParams& params) const;
    void applyAccountLists(ScheduledPost& post, const CommandParams& params, QStringList& unmatched) const;
    void applyAccountsSelection(ScheduledPost& post, const QString& text, QStringList& unmatched) const;
    void applyShareWithFollowers(ScheduledPost& post, const QString& text, QStringList& unmatched) const;

    const AccountManager& m_accounts;
    AccountResolver m_resolver;
};
