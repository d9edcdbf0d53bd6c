#include "platforms/mastodon/mastodon_account_connector.h"

#include "core/clock.h"
#include "core/url_opener.h"
#include "platforms/mastodon/mastodon_instance.h"
#include "platforms/mastodon/mastodon_log.h"
#include "platforms/oauth/oauth_callback_hub.h"
#include "platforms/oauth/scheme_handler_check.h"
#include "store/account_manager.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QUrlQuery>

#include <qcoro/qcorotask.h>
#include <qcoro/qcorotimer.h>

namespace {

constexpr std::chrono::milliseconds kCallbackPollInterval{100};
// The connect sheet has no row for a sign-in that never came back; a request timeout is
// what it is.
constexpr int kTimedOutStatus = 408;

// A failed authorization step as the connect sheet shows it: the table's message for its
// HTTP status, and "could not be found" when the instance did not answer at all.
MastodonError asConnectError(const MastodonError& error)
{
    switch (error.kind()) {
    case MastodonError::Kind::requestFailed:
        return MastodonError::connectFailed(404, error.detail());
    case MastodonError::Kind::apiError:
    case MastodonError::Kind::authenticationError:
    case MastodonError::Kind::rateLimited:
        return MastodonError::connectFailed(error.status().value_or(400), error.detail());
    default:
        return error;
    }
}

// X's callbacks share "quillo://oauth"; they name a request token and never a code.
bool isMastodonCallback(const QUrlQuery& query)
{
    return !query.hasQueryItem(QStringLiteral("oauth_token")) && !query.hasQueryItem(QStringLiteral("oauth_verifier"))
        && !query.hasQueryItem(QStringLiteral("denied"));
}

QString accountName(const MastodonAccount& account, const QString& instance)
{
    const QString user = account.username.isEmpty() ? account.acct.section(u'@', 0, 0) : account.username;
    return user + u'@' + instance;
}

} // namespace

MastodonAccountConnector::MastodonAccountConnector(QNetworkAccessManager& network, OAuthCallbackHub& callbacks,
                                                   AccountManager& accounts, UrlOpener& browser, const Clock& clock,
                                                   ImageEncoder& images, const SchemeHandlerCheck& schemes,
                                                   Endpoints endpoints, QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_callbacks(callbacks)
    , m_accounts(accounts)
    , m_browser(browser)
    , m_clock(clock)
    , m_images(images)
    , m_schemes(schemes)
    , m_endpoints(std::move(endpoints))
{
}

void MastodonAccountConnector::start(const QString& instance)
{
    // connect() reports its own failure; the task only has to run to its end.
    auto task = [](MastodonAccountConnector* self, QString entered) -> QCoro::Task<void> {
        try {
            co_await self->connect(std::move(entered));
        } catch (const MastodonError&) {
        }
    };
    QCoro::connect(task(this, instance), this, [] {});
}

bool MastodonAccountConnector::submitCode(const QString& code)
{
    if (m_waiting == 0 || code.trimmed().isEmpty())
        return false;
    m_pastedCodes.append(code.trimmed());
    return true;
}

QCoro::Task<SocialAccount> MastodonAccountConnector::connect(QString instance)
{
    try {
        co_return co_await run(std::move(instance));
    } catch (const MastodonError& error) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("❌ Mastodon connection failed: ") + QString::fromUtf8(error.what());
        Q_EMIT connectionFailed(PlatformType::mastodon, error.message());
        throw;
    }
}

QCoro::Task<SocialAccount> MastodonAccountConnector::run(QString instance)
{
    const QString host = MastodonInstance::normalize(instance);
    const bool pasteCode = !m_schemes.isRegistered(QStringLiteral("quillo"));
    const QString redirect = QString::fromLatin1(pasteCode ? MastodonService::kOutOfBandRedirectUri : MastodonService::kRedirectUri);
    MastodonServiceOptions options = m_serviceOptions;
    options.baseUrl = MastodonInstance::baseUrl(host, m_endpoints);
    MastodonCredentials credentials;
    credentials.instance = host;
    MastodonService service(m_network, credentials, m_images, options);
    qCInfo(lcMastodon).noquote() << QStringLiteral("Connecting to Mastodon instance ") + host;

    MastodonAccount account;
    MastodonInstanceLimits limits;
    try {
        co_await service.registerApp(redirect);
        const QString code = co_await waitForCode(service.authorizationUrl(redirect), pasteCode);
        Q_EMIT stateChanged(MastodonPublishState::authenticating());
        co_await service.exchangeCode(code, redirect);
        account = co_await service.verifyCredentials();
    } catch (const MastodonError& error) {
        throw asConnectError(error);
    }
    try {
        limits = co_await service.fetchInstanceLimits();
    } catch (const MastodonError& error) {
        qCWarning(lcMastodon).noquote() << QStringLiteral("⚠️ Keeping Mastodon's default limits: ") + QString::fromUtf8(error.what());
    }

    QMap<QString, QString> stored{{CredentialKeys::instance, host},
                                  {CredentialKeys::clientId, service.credentials().clientId},
                                  {CredentialKeys::clientSecret, service.credentials().clientSecret},
                                  {CredentialKeys::accessToken, service.credentials().accessToken}};
    limits.writeTo(stored);
    const SocialAccount saved =
        store(SocialAccount::create(PlatformType::mastodon, accountName(account, host), stored, m_clock.now()));
    qCInfo(lcMastodon).noquote() << QStringLiteral("✅ Connected Mastodon account @") + saved.name;
    Q_EMIT connected(saved);
    co_return saved;
}

SocialAccount MastodonAccountConnector::store(const SocialAccount& account)
{
    // Signing in again to an account already here renews its credentials in place.
    for (const SocialAccount& existing : m_accounts.accounts(PlatformType::mastodon)) {
        if (existing.name.compare(account.name, Qt::CaseInsensitive) != 0)
            continue;
        SocialAccount renewed = existing;
        renewed.credentials = account.credentials;
        m_accounts.updateAccount(renewed);
        return renewed;
    }
    if (const std::optional<QString> refused = m_accounts.addAccount(account))
        throw MastodonError(MastodonError::Kind::accountRejected, *refused);
    return m_accounts.account(account.id).value_or(account);
}

QCoro::Task<QString> MastodonAccountConnector::waitForCode(QUrl page, bool pasteCode)
{
    // Callbacks are collected from before the browser opens, so an instant one is not missed.
    QList<QUrl> received;
    const QMetaObject::Connection connection = QObject::connect(
        &m_callbacks, &OAuthCallbackHub::callbackReceived, this, [&received](const QUrl& url) { received.append(url); });
    ++m_waiting;
    m_pastedCodes.clear();
    const auto cleanUp = qScopeGuard([this, &connection] {
        QObject::disconnect(connection);
        --m_waiting;
    });

    Q_EMIT authorizationRequested(page, pasteCode);
    if (!m_browser.open(page))
        qCWarning(lcMastodon).noquote() << QStringLiteral("⚠️ Could not open a browser; open this page to sign in: ")
                + page.toString();

    QElapsedTimer waited;
    waited.start();
    for (;;) {
        if (!m_pastedCodes.isEmpty())
            co_return m_pastedCodes.takeFirst();
        while (!received.isEmpty()) {
            const QUrlQuery query(received.takeFirst());
            if (!isMastodonCallback(query)) {
                qCInfo(lcMastodon) << "Ignoring an OAuth callback meant for another sign-in";
                continue;
            }
            const QString code = query.queryItemValue(QStringLiteral("code"), QUrl::FullyDecoded);
            if (!code.trimmed().isEmpty())
                co_return code.trimmed();
            if (query.hasQueryItem(QStringLiteral("error")))
                throw MastodonError::connectFailed(403, query.queryItemValue(QStringLiteral("error"), QUrl::FullyDecoded));
            throw MastodonError::connectFailed(400, QStringLiteral("the callback carried no code"));
        }
        const auto left = m_callbackTimeout - std::chrono::milliseconds(waited.elapsed());
        if (left <= std::chrono::milliseconds(0))
            throw MastodonError::connectFailed(kTimedOutStatus, QStringLiteral("the browser did not come back"));
        co_await QCoro::sleepFor(std::min<std::chrono::milliseconds>(left, kCallbackPollInterval));
    }
}
