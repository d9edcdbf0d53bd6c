#pragma once

#include "channel/command_outcome.h"
#include "commands/command_params.h"
#include "model/social_account.h"

class AccountManager;
class AppEvents;
class MastodonAccountConnector;

// The `accounts` command: add (opens the platform's account form), remove, edit and
// set-default. Failures throw URLSchemeError with the command's messages.
class AccountCommands {
public:
    // With a Mastodon connector, adding a Mastodon account with autoConnect starts the
    // browser sign-in right away (no window has to press the connect button).
    AccountCommands(AccountManager& accounts, AppEvents& events, MastodonAccountConnector* mastodon = nullptr);

    CommandOutcome run(const CommandParams& params);

private:
    CommandOutcome add(const CommandParams& params);
    CommandOutcome remove(const CommandParams& params);
    CommandOutcome edit(const CommandParams& params);
    CommandOutcome setDefault(const CommandParams& params);
    // The account named by `id`, `name` or `nickname` on the platform.
    SocialAccount identify(PlatformType platform, const CommandParams& params, const QString& missingMessage) const;

    AccountManager& m_accounts;
    AppEvents& m_events;
    MastodonAccountConnector* m_mastodon;
};
