#pragma once

#include "core/timestamp.h"
#include "model/recent_post.h"

#include <QHash>
#include <QList>
#include <QUuid>

#include <chrono>
#include <optional>

// The accounts' recent posts as last fetched, so opening the quote picker again does not
// ask the networks again for a while.
class RecentPostsCache {
public:
    static constexpr std::chrono::minutes MaxAge{5};

    std::optional<QList<RecentPost>> fresh(const QUuid& accountId, const Timestamp& now) const;
    void store(const QUuid& accountId, const QList<RecentPost>& posts, const Timestamp& now);

private:
    struct Entry {
        QList<RecentPost> posts;
        Timestamp fetchedAt;
    };
    QHash<QUuid, Entry> m_entries;
};
