#pragma once

#include "model/social_account.h"
#include "scheduling/account_publisher.h"

// Hands out the publisher of an account, built from its credentials on first use and kept
// (a Bluesky session lives in its client) until the accounts change.
class AccountPublisherFactory {
public:
    virtual ~AccountPublisherFactory() = default;
    // Nothing when the account's credentials are not enough to build a client.
    virtual AccountPublisher* publisherFor(const SocialAccount& account) = 0;
    // Forgets every client, so the next use reads the current credentials.
    virtual void clear() = 0;
};
