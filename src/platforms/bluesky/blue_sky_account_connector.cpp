#include "platforms/bluesky/blue_sky_account_connector.h"

#include "core/clock.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "platforms/bluesky/blue_sky_log.h"
#include "store/account_manager.h"

namespace {

// Signing in uploads nothing.
class NoImages : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest) override
    {
        throw MediaError::workerFailed(QStringLiteral("no image encoding while connecting an account"));
        co_return {};
    }
};

} // namespace

BlueSkyAccountConnector::BlueSkyAccountConnector(QNetworkAccessManager& network, AccountManager& accounts,
                                                 const Clock& clock, Endpoints endpoints, BlueSkyServiceOptions options,
                                                 QObject* parent)
    : QObject(parent)
    , m_network(network)
    , m_accounts(accounts)
    , m_clock(clock)
    , m_endpoints(std::move(endpoints))
    , m_options(options)
{
}

QCoro::Task<SocialAccount> BlueSkyAccountConnector::connect(QString handle, QString appPassword, QString service)
{
    std::optional<BlueSkyError> failure;
    try {
        co_return co_await signInAndStore(std::move(handle), std::move(appPassword), std::move(service));
    } catch (const BlueSkyError& error) {
        failure = error;
    }
    qCWarning(lcBlueSky).noquote() << QStringLiteral("BlueSky connection failed: ") + failure->message();
    Q_EMIT connectionFailed(PlatformType::bluesky, failure->message());
    throw *failure;
}

QCoro::Task<std::optional<SocialAccount>> BlueSkyAccountConnector::connectTypedCredentials()
{
    const QMap<QString, QString> typed = m_accounts.temporaryCredentials(PlatformType::bluesky);
    std::optional<SocialAccount> account;
    try {
        account = co_await connect(typed.value(CredentialKeys::handle), typed.value(CredentialKeys::appPassword),
                                   typed.value(CredentialKeys::service));
    } catch (const BlueSkyError&) {
        co_return std::nullopt; // logged and emitted by connect()
    }
    m_accounts.setTemporaryCredentials(PlatformType::bluesky, {});
    co_return account;
}

QCoro::Task<SocialAccount> BlueSkyAccountConnector::signInAndStore(QString handle, QString appPassword, QString service)
{
    QMap<QString, QString> credentials{{CredentialKeys::handle, BlueSkyService::normalizedHandle(handle)},
                                       {CredentialKeys::appPassword, appPassword.trimmed()}};
    service = service.trimmed();
    if (!service.isEmpty()) {
        const QUrl url(service, QUrl::StrictMode);
        if (!url.isValid() || url.host().isEmpty()
            || (url.scheme() != QStringLiteral("https") && url.scheme() != QStringLiteral("http")))
            throw BlueSkyError(BlueSkyError::Kind::accountRejected,
                               QStringLiteral("The server address must be an https:// URL, such as https://bsky.social"));
        credentials.insert(CredentialKeys::service, service);
    }
    const SocialAccount account =
        SocialAccount::create(PlatformType::bluesky, credentials.value(CredentialKeys::handle), credentials, m_clock.now());
    // The form's checks come first: no sign-in for an empty form or a known handle.
    if (const std::optional<QString> refused = m_accounts.validate(account, true))
        throw BlueSkyError(BlueSkyError::Kind::accountRejected, *refused);

    NoImages noImages;
    BlueSkyService client(m_network, account.credential(CredentialKeys::handle),
                          account.credential(CredentialKeys::appPassword), m_clock, noImages,
                          BlueSkyHosts::forAccount(account, m_endpoints), m_options);
    co_await client.authenticate();

    if (const std::optional<QString> refused = m_accounts.addAccount(account))
        throw BlueSkyError(BlueSkyError::Kind::accountRejected, *refused);
    qCInfo(lcBlueSky).noquote() << QStringLiteral("Connected BlueSky account @") + account.name;
    co_return account;
}
