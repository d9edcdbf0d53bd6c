#pragma once

#include "core/endpoints.h"
#include "model/social_account.h"
#include "platforms/mastodon/mastodon_publish_state.h"
#include "platforms/mastodon/mastodon_service.h"

#include <QObject>
#include <QStringList>
#include <QUrl>

#include <chrono>

class AccountManager;
class Clock;
class ImageEncoder;
class OAuthCallbackHub;
class QNetworkAccessManager;
class SchemeHandlerCheck;
class UrlOpener;

// Connects a Mastodon account without a web view: registers Quillo with the instance,
// sends the person to the authorize page in their browser and waits for the code, which
// comes back as "quillo://oauth?code=…" through the command channel, or, where no
// quillo:// handler is registered, is pasted by the person from the instance's code page.
// The token is exchanged and verified and the instance's limits read before the account
// is stored; a failure at any step stores nothing.
class MastodonAccountConnector : public QObject {
    Q_OBJECT

public:
    MastodonAccountConnector(QNetworkAccessManager& network, OAuthCallbackHub& callbacks, AccountManager& accounts,
                             UrlOpener& browser, const Clock& clock, ImageEncoder& images,
                             const SchemeHandlerCheck& schemes, Endpoints endpoints = {}, QObject* parent = nullptr);

    void setCallbackTimeout(std::chrono::milliseconds timeout) { m_callbackTimeout = timeout; }
    void setServiceOptions(const MastodonServiceOptions& options) { m_serviceOptions = options; }

    // The whole flow. Throws MastodonError (its message is the connect sheet's) and
    // emits connectionFailed before throwing.
    QCoro::Task<SocialAccount> connect(QString instance);
    // The same flow, run in the background; the outcome arrives as connected or connectionFailed.
    void start(const QString& instance);
    // The code the person pasted from the instance's page. False when no sign-in waits for one.
    bool submitCode(const QString& code);
    bool isWaitingForCode() const { return m_waiting > 0; }

Q_SIGNALS:
    // The page to sign in on. With pasteCode the instance shows a code there, which the
    // person pastes back (submitCode, or "quillo://oauth?code=…" on the command line).
    void authorizationRequested(const QUrl& page, bool pasteCode);
    void stateChanged(const MastodonPublishState& state);
    void connected(const SocialAccount& account);
    // The connection-error notification of the settings: platform and error text.
    void connectionFailed(PlatformType platform, const QString& message);

private:
    QCoro::Task<SocialAccount> run(QString instance);
    QCoro::Task<QString> waitForCode(QUrl page, bool pasteCode);
    SocialAccount store(const SocialAccount& account);

    QNetworkAccessManager& m_network;
    OAuthCallbackHub& m_callbacks;
    AccountManager& m_accounts;
    UrlOpener& m_browser;
    const Clock& m_clock;
    ImageEncoder& m_images;
    const SchemeHandlerCheck& m_schemes;
    Endpoints m_endpoints;
    MastodonServiceOptions m_serviceOptions;
    std::chrono::milliseconds m_callbackTimeout{std::chrono::minutes(10)};
    QStringList m_pastedCodes;
    int m_waiting = 0;
};
