#pragma once

#include "core/timestamp.h"
#include "model/platform_type.h"

#include <QString>
#include <QUrl>

#include <optional>

// One of the account's own latest top-level posts, as the quote picker lists it.
struct RecentPost {
    PlatformType platform = PlatformType::bluesky;
    // The post's identifier on its network (an at:// URI on Bluesky, a status id on Mastodon).
    QString id;
    QString text;
    std::optional<Timestamp> createdAt;
    int replyCount = 0;
    int repostCount = 0;
    int likeCount = 0;
    // The post's web page, where the network gives one.
    QUrl url;

    bool operator==(const RecentPost&) const = default;
};
