#include "commands/command_router.h"

#include "commands/admin_commands.h"
#include "commands/url_scheme_handler.h"
#include "platforms/oauth/oauth_callback_hub.h"

CommandRouter::CommandRouter(OAuthCallbackHub& oauth, URLSchemeHandler& commands)
    : m_oauth(oauth)
    , m_commands(commands)
{
}

QCoro::Task<CommandOutcome> CommandRouter::route(QString text)
{
    const QUrl url(text);
    if (OAuthCallbackHub::isOAuthCallback(url)) {
        m_oauth.deliver(url);
        co_return CommandOutcome::success(QStringLiteral("Sign-in callback delivered"));
    }
    if (AdminCommands::isAdminUrl(url)) {
        if (!m_admin)
            co_return CommandOutcome::failure(QStringLiteral("This instance takes no admin commands"));
        co_return m_admin->run(url);
    }
    co_return co_await m_commands.handle(url);
}
