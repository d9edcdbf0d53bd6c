#pragma once

#include "platforms/mastodon/mastodon_service.h"
#include "scheduling/account_publisher.h"

// Publishes to a Mastodon account: statuses as a reply chain, each sent with an
// idempotency key so a request repeated after a lost answer makes no second status.
class MastodonAccountPublisher : public AccountPublisher {
public:
    explicit MastodonAccountPublisher(std::unique_ptr<MastodonService> service);

    QCoro::Task<void> publish(ThreadJob job, Delivered delivered, Status status) override;
    void cancel() override { m_service->cancel(); }
    QCoro::Task<QList<RecentPost>> recentPosts() override;
    MastodonService& service() { return *m_service; }

private:
    std::unique_ptr<MastodonService> m_service;
};
