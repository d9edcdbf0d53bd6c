#pragma once

#include "core/timestamp.h"
#include "model/platform_type.h"

#include <QString>
#include <QUrl>

#include <optional>

// One of the account's own latest posts, as a network reports it (for the quote picker).
struct RecentPost {
    PlatformType platform = PlatformType::mastodon;
    QString id;
    QString text;
    std::optional<Timestamp> createdAt;
    int replyCount = 0;
    int repostCount = 0;
    int likeCount = 0;
    QUrl url;

    bool operator==(const RecentPost&) const = default;
};
