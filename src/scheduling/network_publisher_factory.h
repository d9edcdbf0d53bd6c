#pragma once

#include "core/endpoints.h"
#include "scheduling/account_publisher_factory.h"

#include <map>
#include <QUuid>

#include <memory>

class Clock;
class ImageEncoder;
class QNetworkAccessManager;

// The publishers the instance uses: each network's real client, pointed at the hosts
// QUILLO_ENDPOINTS names when it is set.
class NetworkPublisherFactory : public AccountPublisherFactory {
public:
    NetworkPublisherFactory(QNetworkAccessManager& network, const Clock& clock, ImageEncoder& images, Endpoints endpoints);
    ~NetworkPublisherFactory() override;

    AccountPublisher* publisherFor(const SocialAccount& account) override;
    void clear() override { m_publishers.clear(); }

private:
    std::unique_ptr<AccountPublisher> make(const SocialAccount& account) const;

    QNetworkAccessManager& m_network;
    const Clock& m_clock;
    ImageEncoder& m_images;
    Endpoints m_endpoints;
    std::map<QUuid, std::unique_ptr<AccountPublisher>> m_publishers;
};
