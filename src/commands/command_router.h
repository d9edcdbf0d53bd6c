#pragma once

#include "channel/command_outcome.h"

#include <QString>

#include <qcoro/qcorotask.h>

class AdminCommands;
class OAuthCallbackHub;
class URLSchemeHandler;

// Sends each URL that arrives on the command channel where it belongs: browser
// callbacks of a connect flow to the OAuth hub, quillo-admin:// requests of the command
// line to the admin commands, everything else to the URL commands.
class CommandRouter {
public:
    CommandRouter(OAuthCallbackHub& oauth, URLSchemeHandler& commands);

    QCoro::Task<CommandOutcome> route(QString url);
    void setAdminCommands(AdminCommands* admin) { m_admin = admin; }

private:
    OAuthCallbackHub& m_oauth;
    URLSchemeHandler& m_commands;
    AdminCommands* m_admin = nullptr;
};
