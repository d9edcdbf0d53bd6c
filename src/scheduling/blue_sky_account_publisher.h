#pragma once

#include "platforms/bluesky/blue_sky_service.h"
#include "scheduling/account_publisher.h"

// Publishes to a Bluesky account: a thread of records, each replying to the one before
// and naming the thread's first post as its root.
class BlueSkyAccountPublisher : public AccountPublisher {
public:
    explicit BlueSkyAccountPublisher(std::unique_ptr<BlueSkyService> service);

    QCoro::Task<void> publish(ThreadJob job, Delivered delivered, Status status) override;
    void cancel() override { m_service->cancel(); }
    QCoro::Task<QList<RecentPost>> recentPosts() override;

private:
    std::unique_ptr<BlueSkyService> m_service;
};
