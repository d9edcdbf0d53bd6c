#pragma once

#include "model/scheduled_post.h"

#include <QList>
#include <QSet>
#include <QStringMatcher>

#include <optional>

class MCPArguments;

// The filters, order and page of a scheduled_list call. Built from the tool's
// arguments (throws MCPToolError with a readable message for a bad value).
class ScheduledPostQuery {
public:
    static constexpr int kDefaultLimit = 50;
    static constexpr int kMaxLimit = 500;

    static ScheduledPostQuery fromArguments(const MCPArguments& args, Timestamp now);

    // The matching posts, sorted and paged.
    QList<const ScheduledPost*> run(const QList<ScheduledPost>& posts) const;

private:
    enum class SortField { date, createdAt, status, platform };

    bool matches(const ScheduledPost& post) const;
    bool matchesPostingMode(const ScheduledPost& post) const;

    std::optional<QSet<PostStatus>> m_statuses;
    std::optional<QSet<PlatformType>> m_platforms;
    std::optional<Timestamp> m_from;
    std::optional<Timestamp> m_to;
    std::optional<QSet<QUuid>> m_ids;
    std::optional<bool> m_hasMedia;
    std::optional<QStringMatcher> m_text;
    std::optional<QString> m_postingMode;
    std::optional<QSet<QUuid>> m_accountIds;
    SortField m_sort = SortField::date;
    bool m_descending = false;
    qsizetype m_offset = 0;
    qsizetype m_limit = kDefaultLimit;
    Timestamp m_now;
};
