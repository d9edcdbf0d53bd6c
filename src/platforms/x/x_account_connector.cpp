#include "platforms/x/x_account_connector.h"

#include "core/clock.h"
#include "core/url_opener.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/x/x_log.h"
#include "store/account_manager.h"

#include <QElapsedTimer>
#include <QUrlQuery>

#include <QScopeGuard>

#include <qcoro/qcorotimer.h>

namespace {

constexpr std::chrono::milliseconds kCallbackPollInterval{100};

// The token pair of a form-encoded token answer; nothing when either part is missing.
std::optional<std::pair<QString, QString>> parseTokenAnswer(const OAuthAnswer& answer)
{
    if (!answer.isSuccess())
        return std::nullopt;
    QString token;
    QString secret;
    for (const auto& [name, value] : OAuthSigner::decodeForm(answer.body)) {
        if (name == "oauth_token")
            token = QString::fromUtf8(value);
        else if (name == "oauth_token_secret")
            secret = QString::fromUtf8(value);
    }
    if (token.isEmpty() || secret.isEmpty())
        return std::nullopt;
    return std::pair{token, secret};
}

// OAuth 1.0a: a request token is only good when the server says it took our callback.
bool callbackConfirmed(const OAuthAnswer& answer)
{
    for (const auto& [name, value] : OAuthSigner::decodeForm(answer.body)) {
        if (name == "oauth_callback_confirmed")
            return value == "true";
    }
    return false;
}

QString answerText(const OAuthAnswer& answer)
{
    if (answer.status == 0)
        return answer.errorString;
    return QStringLiteral("status %1: %2").arg(answer.status).arg(QString::fromUtf8(answer.body.left(500)));
}

OAuthCredential consumerCredential(const QString& apiKey, const QString& apiSecret)
{
    OAuthCredential credential;
    credential.consumerKey = apiKey.trimmed();
    credential.consumerSecret = apiSecret.trimmed();
    return credential;
}

// Whether a quillo://oauth callback answers this flow (another flow's callback, or an
// OAuth 2 one from Mastodon, names a different token or carries a code instead).
bool isForToken(const QUrlQuery& query, const QString& requestToken)
{
    if (query.hasQueryItem(QStringLiteral("code")))
        return false;
    for (const QString& key : {QStringLiteral("oauth_token"), QStringLiteral("denied")}) {
        if (query.hasQueryItem(key))
            return query.queryItemValue(key, QUrl::FullyDecoded) == requestToken;
    }
    return true;
}

} // namespace

XAccountConnector::XAccountConnector(QNetworkAccessManager& network, OAuthCallbackHub& callbacks,
                                     AccountManager& accounts, UrlOpener& browser, const Clock& clock, XHosts hosts,
                                     QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_callbacks(callbacks)
    , m_accounts(accounts)
    , m_browser(browser)
    , m_clock(clock)
    , m_hosts(std::move(hosts))
{
}

QUrl XAccountConnector::apiUrl(const QString& path) const
{
    QUrl url = m_hosts.api;
    url.setPath(path);
    return url;
}

void XAccountConnector::fail(const XError& error)
{
    qCWarning(lcX).noquote() << QStringLiteral("X connection failed: ") + QString::fromUtf8(error.what());
    Q_EMIT connectionFailed(PlatformType::x, error.message());
}

QCoro::Task<SocialAccount> XAccountConnector::connect(QString apiKey, QString apiSecret)
{
    try {
        co_return co_await runBrowserFlow(std::move(apiKey), std::move(apiSecret));
    } catch (const XError& error) {
        fail(error);
        throw;
    }
}

QCoro::Task<SocialAccount> XAccountConnector::connectWithAccessToken(QString apiKey, QString apiSecret,
                                                                     QString accessToken, QString accessSecret)
{
    try {
        OAuthCredential credential = consumerCredential(apiKey, apiSecret);
        if (credential.consumerKey.isEmpty() || credential.consumerSecret.isEmpty())
            throw XError(XError::Kind::missingConsumerKeys);
        credential.oauthToken = accessToken.trimmed();
        credential.oauthTokenSecret = accessSecret.trimmed();
        if (credential.oauthToken.isEmpty() || credential.oauthTokenSecret.isEmpty())
            throw XError(XError::Kind::missingAccessToken);
        co_return co_await verifyAndStore(std::move(credential));
    } catch (const XError& error) {
        fail(error);
        throw;
    }
}

QCoro::Task<SocialAccount> XAccountConnector::runBrowserFlow(QString apiKey, QString apiSecret)
{
    const OAuthCredential consumer = consumerCredential(apiKey, apiSecret);
    if (consumer.consumerKey.isEmpty() || consumer.consumerSecret.isEmpty())
        throw XError(XError::Kind::missingConsumerKeys);
    qCInfo(lcX).noquote() << QStringLiteral("Attempting to connect to X with the API key given");

    const TokenPair temporary = co_await requestToken(consumer);
    QUrl authorize = apiUrl(QStringLiteral("/oauth/authorize"));
    authorize.setQuery(QUrlQuery({{QStringLiteral("oauth_token"), temporary.token}}));
    const QString verifier = co_await waitForVerifier(temporary.token, authorize);

    OAuthCredential withTemporary = consumer;
    withTemporary.oauthToken = temporary.token;
    withTemporary.oauthTokenSecret = temporary.secret;
    const TokenPair access = co_await accessToken(std::move(withTemporary), verifier);

    OAuthCredential credential = consumer;
    credential.oauthToken = access.token;
    credential.oauthTokenSecret = access.secret;
    co_return co_await verifyAndStore(std::move(credential));
}

QCoro::Task<XAccountConnector::TokenPair> XAccountConnector::requestToken(const OAuthCredential& consumer)
{
    OAuthClient client(m_network, consumer, m_clock);
    // Built before the co_await: GCC 12 cannot keep a braced list alive across one.
    OAuthParameters callback;
    callback.append({QByteArrayLiteral("oauth_callback"), QByteArray(kCallbackUrl)});
    const OAuthAnswer answer =
        co_await client.postForm(apiUrl(QStringLiteral("/oauth/request_token")), QByteArray(), std::move(callback));
    const auto pair = parseTokenAnswer(answer);
    if (!pair)
        throw XError(XError::Kind::accessTokenFailed, QStringLiteral("request token: ") + answerText(answer), answer.status);
    if (!callbackConfirmed(answer))
        throw XError(XError::Kind::accessTokenFailed, QStringLiteral("request token: the callback was not confirmed"),
                     answer.status);
    co_return TokenPair{pair->first, pair->second};
}

QCoro::Task<QString> XAccountConnector::waitForVerifier(const QString& requestToken, const QUrl& authorizeUrl)
{
    // Callbacks are collected from before the browser opens, so an instant one is not
    // missed, and several arriving together are all seen. (Awaiting the signal itself
    // is not safe with QCoro 0.8 when it fires twice in a row.)
    QList<QUrl> received;
    const QMetaObject::Connection connection = QObject::connect(
        &m_callbacks, &OAuthCallbackHub::callbackReceived, this, [&received](const QUrl& url) { received.append(url); });
    const auto disconnect = qScopeGuard([&connection] { QObject::disconnect(connection); });
    if (!m_browser.open(authorizeUrl))
        throw XError(XError::Kind::browserUnavailable, authorizeUrl.toString());

    QElapsedTimer waited;
    waited.start();
    for (;;) {
        while (!received.isEmpty()) {
            const QUrlQuery query(received.takeFirst());
            if (!isForToken(query, requestToken)) {
                qCInfo(lcX) << "Ignoring an OAuth callback meant for another sign-in";
                continue;
            }
            const QString verifier = query.queryItemValue(QStringLiteral("oauth_verifier"), QUrl::FullyDecoded);
            if (verifier.isEmpty())
                throw XError(XError::Kind::missingVerifier);
            co_return verifier;
        }
        const auto left = m_callbackTimeout - std::chrono::milliseconds(waited.elapsed());
        if (left <= std::chrono::milliseconds(0))
            throw XError(XError::Kind::callbackTimedOut);
        co_await QCoro::sleepFor(std::min<std::chrono::milliseconds>(left, kCallbackPollInterval));
    }
}

QCoro::Task<XAccountConnector::TokenPair> XAccountConnector::accessToken(OAuthCredential temporary, QString verifier)
{
    OAuthClient client(m_network, std::move(temporary), m_clock);
    OAuthParameters verification;
    verification.append({QByteArrayLiteral("oauth_verifier"), verifier.toUtf8()});
    const OAuthAnswer answer =
        co_await client.postForm(apiUrl(QStringLiteral("/oauth/access_token")), QByteArray(), std::move(verification));
    const auto pair = parseTokenAnswer(answer);
    if (!pair)
        throw XError(XError::Kind::accessTokenFailed, answerText(answer), answer.status);
    co_return TokenPair{pair->first, pair->second};
}

QCoro::Task<SocialAccount> XAccountConnector::verifyAndStore(OAuthCredential credential)
{
    XService service(m_network, credential, m_clock, m_hosts);
    const XUser user = co_await service.verifyCredentials();
    const SocialAccount account = SocialAccount::create(PlatformType::x, user.screenName,
                                                        {{CredentialKeys::apiKey, credential.consumerKey},
                                                         {CredentialKeys::apiSecret, credential.consumerSecret},
                                                         {CredentialKeys::accessToken, credential.oauthToken},
                                                         {CredentialKeys::accessSecret, credential.oauthTokenSecret}},
                                                        m_clock.now());
    if (const std::optional<QString> refused = m_accounts.addAccount(account))
        throw XError(XError::Kind::accountRejected, *refused);
    qCInfo(lcX).noquote() << QStringLiteral("Connected X account @") + user.screenName;
    co_return account;
}
