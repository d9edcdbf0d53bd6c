#pragma once

#include "model/social_account.h"
#include "platforms/x/x_service.h"

#include <QObject>
#include <QUrl>

#include <chrono>

class AccountManager;
class Clock;
class OAuthCallbackHub;
class QNetworkAccessManager;
class UrlOpener;

// Connects an X account: the three-legged OAuth 1.0a flow through the system browser,
// or the four keys typed in directly. Either way the credentials are verified with X
// before the account is handed to the AccountManager; nothing is stored on failure.
class XAccountConnector : public QObject {
    Q_OBJECT

public:
    static constexpr char kCallbackUrl[] = "quillo://oauth";

    XAccountConnector(QNetworkAccessManager& network, OAuthCallbackHub& callbacks, AccountManager& accounts,
                      UrlOpener& browser, const Clock& clock, XHosts hosts = {}, QObject* parent = nullptr);

    void setCallbackTimeout(std::chrono::milliseconds timeout) { m_callbackTimeout = timeout; }

    // The browser flow. Throws XError; emits connectionFailed before throwing.
    QCoro::Task<SocialAccount> connect(QString apiKey, QString apiSecret);
    // The typed-keys path: no browser, the same verification and storing.
    QCoro::Task<SocialAccount> connectWithAccessToken(QString apiKey, QString apiSecret, QString accessToken,
                                                      QString accessSecret);

Q_SIGNALS:
    // The connection-error notification of the settings: platform and error text.
    void connectionFailed(PlatformType platform, const QString& message);

private:
    struct TokenPair {
        QString token;
        QString secret;
    };

    QCoro::Task<SocialAccount> runBrowserFlow(QString apiKey, QString apiSecret);
    QCoro::Task<SocialAccount> verifyAndStore(OAuthCredential credential);
    QCoro::Task<TokenPair> requestToken(const OAuthCredential& consumer);
    QCoro::Task<QString> waitForVerifier(const QString& requestToken, const QUrl& authorizeUrl);
    QCoro::Task<TokenPair> accessToken(OAuthCredential temporary, QString verifier);
    QUrl apiUrl(const QString& path) const;
    void fail(const XError& error);

    QNetworkAccessManager& m_network;
    OAuthCallbackHub& m_callbacks;
    AccountManager& m_accounts;
    UrlOpener& m_browser;
    const Clock& m_clock;
    XHosts m_hosts;
    std::chrono::milliseconds m_callbackTimeout{std::chrono::minutes(10)};
};
