#pragma once

#include "core/timestamp.h"
#include "model/platform_type.h"

#include <QString>

// One of the user's own latest top-level posts on a network, as the quote picker lists it.
struct RecentPost {
    PlatformType platform = PlatformType::bluesky;
    // The post's identifier on its network (an at:// URI on Bluesky).
    QString id;
    QString text;
    Timestamp createdAt;
    int replyCount = 0;
    int repostCount = 0;
    int likeCount = 0;

    bool operator==(const RecentPost&) const = default;
};
