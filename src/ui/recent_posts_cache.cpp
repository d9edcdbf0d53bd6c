#include "ui/recent_posts_cache.h"

std::optional<QList<RecentPost>> RecentPostsCache::fresh(const QUuid& accountId, const Timestamp& now) const
{
    const auto found = m_entries.constFind(accountId);
    if (found == m_entries.cend())
        return std::nullopt;
    const double age = now.referenceSeconds() - found->fetchedAt.referenceSeconds();
    if (age < 0 || age > std::chrono::duration<double>(MaxAge).count())
        return std::nullopt;
    return found->posts;
}

void RecentPostsCache::store(const QUuid& accountId, const QList<RecentPost>& posts, const Timestamp& now)
{
    m_entries.insert(accountId, Entry{posts, now});
}
