#include "store/scheduled_post_actions.h"

#include "store/scheduler_service.h"
#include "store/store_log.h"

#include <QTimeZone>

namespace {

QString idText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

ScheduledPostActions::ScheduledPostActions(SchedulerService& scheduler)
    : m_scheduler(scheduler)
{
}

bool ScheduledPostActions::reschedule(const QUuid& id, const QDateTime& when)
{
    std::optional<ScheduledPost> post = m_scheduler.scheduledPost(id);
    if (!post || !when.isValid())
        return false;
    if (post->status == PostStatus::published || post->status == PostStatus::processing) {
        qCInfo(lcStore).noquote() << QStringLiteral("⏭ Post %1 is %2; its time stays").arg(idText(id), rawValue(post->status));
        return false;
    }
    post->scheduledDate = Timestamp::fromDateTime(when);
    post->timeZoneIdentifier = QString::fromUtf8(when.timeZone().id());
    m_scheduler.addOrUpdate(*post, id);
    qCInfo(lcStore).noquote() << QStringLiteral("📅 Post %1 moved to %2").arg(idText(id), post->scheduledDate.toIso8601());
    return true;
}

std::optional<QUuid> ScheduledPostActions::duplicate(const QUuid& id)
{
    std::optional<ScheduledPost> post = m_scheduler.scheduledPost(id);
    if (!post)
        return std::nullopt;
    post->status = PostStatus::draft;
    post->error.reset();
    for (Post& item : post->content)
        item.scheduledPostId.reset();
    const QUuid copy = m_scheduler.addOrUpdate(*post);
    qCInfo(lcStore).noquote() << QStringLiteral("💾 Post %1 duplicated as draft %2").arg(idText(id), idText(copy));
    return copy;
}

bool ScheduledPostActions::remove(const QUuid& id)
{
    return m_scheduler.deletePost(id);
}

bool ScheduledPostActions::retry(const QUuid& id)
{
    const std::optional<ScheduledPost> post = m_scheduler.scheduledPost(id);
    if (!post || post->status != PostStatus::failed)
        return false;
    qCInfo(lcStore).noquote() << QStringLiteral("🔁 Post %1 queued for retry").arg(idText(id));
    return m_scheduler.updateStatus(id, PostStatus::queued, std::nullopt);
}
