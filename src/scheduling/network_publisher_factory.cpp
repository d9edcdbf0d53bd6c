#include "scheduling/network_publisher_factory.h"

#include "scheduling/blue_sky_account_publisher.h"
#include "scheduling/mastodon_account_publisher.h"
#include "scheduling/x_account_publisher.h"

NetworkPublisherFactory::NetworkPublisherFactory(QNetworkAccessManager& network, const Clock& clock, ImageEncoder& images,
                                                 Endpoints endpoints)
    : m_network(network)
    , m_clock(clock)
    , m_images(images)
    , m_endpoints(std::move(endpoints))
{
}

NetworkPublisherFactory::~NetworkPublisherFactory() = default;

AccountPublisher* NetworkPublisherFactory::publisherFor(const SocialAccount& account)
{
    auto found = m_publishers.find(account.id);
    if (found == m_publishers.end()) {
        std::unique_ptr<AccountPublisher> publisher = make(account);
        if (!publisher)
            return nullptr;
        found = m_publishers.emplace(account.id, std::move(publisher)).first;
    }
    return found->second.get();
}

std::unique_ptr<AccountPublisher> NetworkPublisherFactory::make(const SocialAccount& account) const
{
    switch (account.platform) {
    case PlatformType::x: {
        const std::optional<OAuthCredential> credential = XAccountPublisher::credentialOf(account);
        if (!credential)
            return nullptr;
        XHosts hosts;
        if (const auto base = m_endpoints.baseFor(QStringLiteral("x"))) {
            hosts.api = *base;
            hosts.web = *base;
        }
        auto service = std::make_unique<XService>(m_network, *credential, m_clock, hosts);
        service->setImageEncoder(&m_images);
        return std::make_unique<XAccountPublisher>(std::move(service));
    }
    case PlatformType::bluesky: {
        if (account.credential(CredentialKeys::handle).isEmpty() || account.credential(CredentialKeys::appPassword).isEmpty())
            return nullptr;
        return std::make_unique<BlueSkyAccountPublisher>(
            BlueSkyService::forAccount(m_network, account, m_clock, m_images, m_endpoints));
    }
    case PlatformType::mastodon:
        if (account.credential(CredentialKeys::accessToken).isEmpty())
            return nullptr;
        return std::make_unique<MastodonAccountPublisher>(MastodonService::forAccount(m_network, account, m_images, m_endpoints));
    }
    return nullptr;
}
