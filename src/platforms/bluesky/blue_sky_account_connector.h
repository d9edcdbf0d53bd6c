#pragma once

#include "core/endpoints.h"
#include "model/social_account.h"
#include "platforms/bluesky/blue_sky_service.h"

#include <QObject>

#include <optional>

#include <qcoro/qcorotask.h>

class AccountManager;
class Clock;
class QNetworkAccessManager;

// Connects a Bluesky account from the account form: the handle and app password (and,
// for people on their own PDS, its base URL) are checked by a real sign-in before the
// account is handed to the AccountManager. Nothing is stored on failure.
class BlueSkyAccountConnector : public QObject {
    Q_OBJECT

public:
    BlueSkyAccountConnector(QNetworkAccessManager& network, AccountManager& accounts, const Clock& clock,
                            Endpoints endpoints = {}, BlueSkyServiceOptions options = {}, QObject* parent = nullptr);

    // Throws BlueSkyError: accountRejected with the form's message ("Please enter your
    // BlueSky handle and app password first", "An account with this handle already
    // exists"), invalidCredentials, or what the sign-in met. Emits connectionFailed first.
    QCoro::Task<SocialAccount> connect(QString handle, QString appPassword, QString service = {});

    // The form's connect button: connects what the user typed into the Bluesky form
    // (AccountManager::temporaryCredentials: handle, appPassword, service), and forgets the
    // typed values once the account is stored. Never throws: a failure is logged and
    // emitted as connectionFailed, and gives nothing.
    QCoro::Task<std::optional<SocialAccount>> connectTypedCredentials();

Q_SIGNALS:
    // The connection-error notification of the settings: platform and error text.
    void connectionFailed(PlatformType platform, const QString& message);

private:
    QCoro::Task<SocialAccount> signInAndStore(QString handle, QString appPassword, QString service);

    QNetworkAccessManager& m_network;
    AccountManager& m_accounts;
    const Clock& m_clock;
    Endpoints m_endpoints;
    BlueSkyServiceOptions m_options;
};
