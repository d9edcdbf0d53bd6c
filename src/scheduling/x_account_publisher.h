#pragma once

#include "model/social_account.h"
#include "platforms/x/x_service.h"
#include "scheduling/account_publisher.h"

// Publishes to an X account: each post a tweet answering the previous one.
class XAccountPublisher : public AccountPublisher {
public:
    explicit XAccountPublisher(std::unique_ptr<XService> service);

    // The OAuth credential an X account's stored keys make; nothing when one is missing.
    static std::optional<OAuthCredential> credentialOf(const SocialAccount& account);

    QCoro::Task<void> publish(ThreadJob job, Delivered delivered, Status status) override;
    void cancel() override { m_service->cancel(); }

private:
    std::unique_ptr<XService> m_service;
};
