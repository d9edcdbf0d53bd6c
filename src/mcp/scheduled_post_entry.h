#pragma once

#include "model/delivery_record.h"

#include "mcp/any_codable.h"
#include "model/scheduled_post.h"

// How a scheduled post is shown to an assistant: safe fields only, dates in ISO 8601.
// Used by scheduled_list and the "quillo:///scheduled" resource.
struct ScheduledPostEntry {
    struct Options {
        bool includeContent = true;
        bool includeAccounts = true;
        bool includeError = true;
        bool includeShare = false;
    };

    // `delivery`: what of the post reached which account, listed under "delivered".
    static Json encode(const ScheduledPost& post, const Options& options, const DeliveryRecord* delivery = nullptr);
};
