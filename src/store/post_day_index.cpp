#include "store/post_day_index.h"

#include "model/scheduled_post.h"
#include "store/scheduler_service.h"

#include <algorithm>

namespace {

constexpr qsizetype kTitleLength = 80;

QString titleOf(const ScheduledPost& post)
{
    if (post.content.isEmpty())
        return {};
    const QString& text = post.content.first().text;
    const qsizetype lineEnd = text.indexOf(QLatin1Char('\n'));
    const QString line = (lineEnd < 0 ? text : text.left(lineEnd)).trimmed();
    return line.size() <= kTitleLength ? line : line.left(kTitleLength - 1) + QChar(0x2026);
}

bool earlier(const PostDayEntry& a, const PostDayEntry& b)
{
    return a.when < b.when;
}

QList<PostDayEntry> filtered(const QList<PostDayEntry>& entries, std::optional<PostStatus> status)
{
    if (!status)
        return entries;
    QList<PostDayEntry> kept;
    for (const PostDayEntry& entry : entries) {
        if (entry.status == *status)
            kept.append(entry);
    }
    return kept;
}

} // namespace

PostDayIndex::PostDayIndex(SchedulerService& scheduler, QTimeZone zone, QObject* parent)
    : QObject(parent)
    , m_scheduler(scheduler)
    , m_zone(std::move(zone))
{
    connect(&scheduler, &SchedulerService::scheduledPostChanged, this, &PostDayIndex::update);
    connect(&scheduler, &SchedulerService::scheduledPostsReplaced, this, &PostDayIndex::rebuild);
    rebuild();
}

PostDayEntry PostDayIndex::entryFor(const ScheduledPost& post, const QTimeZone& zone)
{
    PostDayEntry entry;
    entry.id = post.id;
    entry.when = post.scheduledDate.toDateTime().toTimeZone(zone);
    entry.status = post.status;
    entry.networks = post.platformTypes();
    entry.title = titleOf(post);
    entry.threadLength = int(post.content.size());
    entry.interrupted = post.status == PostStatus::failed && post.error
        && post.error->startsWith(QLatin1String("Publishing was interrupted"));
    return entry;
}

QList<PostDayEntry> PostDayIndex::postsOn(QDate day, std::optional<PostStatus> status) const
{
    return filtered(m_days.value(day), status);
}

QList<PostDayEntry> PostDayIndex::allPosts(std::optional<PostStatus> status) const
{
    QList<QDate> days = m_days.keys();
    std::sort(days.begin(), days.end());
    QList<PostDayEntry> all;
    all.reserve(status ? 0 : m_dayOf.size());
    for (const QDate& day : days)
        all.append(filtered(m_days.value(day), status));
    return all;
}

std::optional<PostDayEntry> PostDayIndex::entry(const QUuid& id) const
{
    const auto day = m_dayOf.constFind(id);
    if (day == m_dayOf.cend())
        return std::nullopt;
    for (const PostDayEntry& entry : m_days.value(*day)) {
        if (entry.id == id)
            return entry;
    }
    return std::nullopt;
}

void PostDayIndex::rebuild()
{
    m_days.clear();
    m_dayOf.clear();
    m_failed = 0;
    const QList<ScheduledPost>& posts = m_scheduler.scheduledPosts();
    m_dayOf.reserve(posts.size());
    for (const ScheduledPost& post : posts) {
        PostDayEntry entry = entryFor(post, m_zone);
        m_failed += entry.needsAttention() ? 1 : 0;
        m_dayOf.insert(entry.id, entry.when.date());
        m_days[entry.when.date()].append(std::move(entry));
    }
    // Sorted once at the end rather than kept sorted on every append.
    for (auto day = m_days.begin(); day != m_days.end(); ++day)
        std::stable_sort(day->begin(), day->end(), earlier);
    Q_EMIT changed();
}

void PostDayIndex::update(const QUuid& id)
{
    take(id);
    if (const std::optional<ScheduledPost> post = m_scheduler.scheduledPost(id))
        insert(entryFor(*post, m_zone));
    Q_EMIT changed();
}

void PostDayIndex::insert(PostDayEntry entry)
{
    const QDate day = entry.when.date();
    m_failed += entry.needsAttention() ? 1 : 0;
    m_dayOf.insert(entry.id, day);
    QList<PostDayEntry>& entries = m_days[day];
    const auto at = std::upper_bound(entries.begin(), entries.end(), entry, earlier);
    entries.insert(at, std::move(entry));
}

void PostDayIndex::take(const QUuid& id)
{
    const auto found = m_dayOf.find(id);
    if (found == m_dayOf.end())
        return;
    const QDate day = *found;
    m_dayOf.erase(found);
    QList<PostDayEntry>& entries = m_days[day];
    const auto at = std::find_if(entries.begin(), entries.end(), [&](const PostDayEntry& e) { return e.id == id; });
    if (at != entries.end()) {
        m_failed -= at->needsAttention() ? 1 : 0;
        entries.erase(at);
    }
    if (entries.isEmpty())
        m_days.remove(day);
}
