#include "mcp/scheduled_post_query.h"

#include "mcp/mcp_arguments.h"
#include "mcp/mcp_tool_error.h"

#include <QDateTime>

#include <algorithm>

namespace {

QString text(const std::string& value)
{
    return QString::fromStdString(value);
}

// ISO 8601 with or without a zone (without one the local time is meant); a bare date
// stands for the start of that day, or its end when it closes a range.
std::optional<Timestamp> parseDate(const QString& value, bool endOfDay)
{
    if (const auto exact = Timestamp::fromIso8601(value))
        return exact;
    const QDateTime dateTime = QDateTime::fromString(value, Qt::ISODateWithMs);
    if (dateTime.isValid())
        return Timestamp::fromDateTime(dateTime);
    const QDate date = QDate::fromString(value, Qt::ISODate);
    if (!date.isValid())
        return std::nullopt;
    return Timestamp::fromDateTime(endOfDay ? date.endOfDay() : date.startOfDay());
}

std::optional<Timestamp> dateArgument(const MCPArguments& args, const char* key, bool endOfDay)
{
    const auto value = args.string(key);
    if (!value)
        return std::nullopt;
    const auto parsed = parseDate(text(*value), endOfDay);
    if (!parsed)
        throw MCPToolError(std::string("Invalid ") + key + ": use an ISO 8601 date such as 2025-01-15T10:30:00");
    return parsed;
}

std::optional<QSet<QUuid>> uuidSet(const MCPArguments& args, const char* key)
{
    const auto values = args.strings(key);
    if (!values)
        return std::nullopt;
    QSet<QUuid> ids;
    for (const std::string& value : *values)
        ids.insert(QUuid::fromString(text(value)));
    return ids;
}

int statusRank(PostStatus status)
{
    return int(status);
}

QString platformKey(const ScheduledPost& post)
{
    QStringList names = post.platforms;
    names.sort(Qt::CaseInsensitive);
    return names.join(u',').toLower();
}

bool hasMedia(const ScheduledPost& post)
{
    return std::any_of(post.content.begin(), post.content.end(), [](const Post& item) { return !item.mediaItems.isEmpty(); });
}

} // namespace

ScheduledPostQuery ScheduledPostQuery::fromArguments(const MCPArguments& args, Timestamp now)
{
    ScheduledPostQuery query;
    query.m_now = now;
    if (const auto statuses = args.strings("status")) {
        query.m_statuses.emplace();
        for (const std::string& value : *statuses) {
            const auto status = postStatusFromRawValue(text(value));
            if (!status)
                throw MCPToolError("Invalid status '" + value + "': use draft, queued, processing, published or failed");
            query.m_statuses->insert(*status);
        }
    }
    if (const auto platforms = args.strings("platforms")) {
        query.m_platforms.emplace();
        for (const std::string& value : *platforms) {
            if (const auto platform = platformTypeFromName(text(value)))
                query.m_platforms->insert(*platform);
        }
    }
    query.m_from = dateArgument(args, "dateFrom", false);
    query.m_to = dateArgument(args, "dateTo", true);
    query.m_ids = uuidSet(args, "ids");
    query.m_hasMedia = args.boolean("hasMedia");
    if (const auto contains = args.string("textContains"))
        query.m_text.emplace(text(*contains), Qt::CaseInsensitive);
    if (const auto mode = args.string("postingMode"))
        query.m_postingMode = text(*mode);
    query.m_accountIds = uuidSet(args, "accountId");

    const std::string sortBy = args.string("sortBy").value_or("date");
    if (sortBy == "createdAt")
        query.m_sort = SortField::createdAt;
    else if (sortBy == "status")
        query.m_sort = SortField::status;
    else if (sortBy == "platform")
        query.m_sort = SortField::platform;
    else if (sortBy != "date")
        throw MCPToolError("Invalid sortBy '" + sortBy + "': use date, createdAt, status or platform");
    const std::string order = args.string("sortOrder").value_or("asc");
    if (order != "asc" && order != "desc")
        throw MCPToolError("Invalid sortOrder '" + order + "': use asc or desc");
    query.m_descending = order == "desc";
    query.m_offset = qsizetype(std::max<int64_t>(0, args.integer("offset").value_or(0)));
    query.m_limit = qsizetype(std::clamp<int64_t>(args.integer("limit").value_or(kDefaultLimit), 0, kMaxLimit));
    return query;
}

// "now", "scheduled" and "queue" ask when a post goes out: due already, later, or
// waiting in the queue. Any other value is compared with the account-selection mode.
bool ScheduledPostQuery::matchesPostingMode(const ScheduledPost& post) const
{
    const QString mode = *m_postingMode;
    if (mode == QStringLiteral("now"))
        return post.scheduledDate <= m_now;
    if (mode == QStringLiteral("scheduled"))
        return post.scheduledDate > m_now;
    if (mode == QStringLiteral("queue"))
        return post.status == PostStatus::queued;
    return rawValue(post.postingMode).compare(mode, Qt::CaseInsensitive) == 0;
}

bool ScheduledPostQuery::matches(const ScheduledPost& post) const
{
    if (m_statuses && !m_statuses->contains(post.status))
        return false;
    if (m_platforms) {
        const QList<PlatformType> targets = post.platformTypes();
        if (std::none_of(targets.begin(), targets.end(), [&](PlatformType p) { return m_platforms->contains(p); }))
            return false;
    }
    if ((m_from && post.scheduledDate < *m_from) || (m_to && *m_to < post.scheduledDate))
        return false;
    if (m_ids && !m_ids->contains(post.id))
        return false;
    if (m_hasMedia && hasMedia(post) != *m_hasMedia)
        return false;
    if (m_text && std::none_of(post.content.begin(), post.content.end(),
                               [&](const Post& item) { return m_text->indexIn(item.text) >= 0; }))
        return false;
    if (m_postingMode && !matchesPostingMode(post))
        return false;
    if (m_accountIds) {
        bool any = false;
        for (const QList<QUuid>& ids : post.accountIds)
            any = any || std::any_of(ids.begin(), ids.end(), [&](const QUuid& id) { return m_accountIds->contains(id); });
        if (!any)
            return false;
    }
    return true;
}

QList<const ScheduledPost*> ScheduledPostQuery::run(const QList<ScheduledPost>& posts) const
{
    // The stored order is the order of creation, so "createdAt" keeps it.
    QList<const ScheduledPost*> found;
    for (const ScheduledPost& post : posts) {
        if (matches(post))
            found.append(&post);
    }
    const auto less = [this](const ScheduledPost* a, const ScheduledPost* b) {
        switch (m_sort) {
        case SortField::date: return a->scheduledDate < b->scheduledDate;
        case SortField::createdAt: return false;
        case SortField::status: return statusRank(a->status) < statusRank(b->status);
        case SortField::platform: return platformKey(*a) < platformKey(*b);
        }
        return false;
    };
    std::stable_sort(found.begin(), found.end(), less);
    if (m_descending)
        std::reverse(found.begin(), found.end());
    if (m_offset >= found.size())
        return {};
    return found.mid(m_offset, m_limit);
}
