#include "scheduling/blue_sky_account_publisher.h"

BlueSkyAccountPublisher::BlueSkyAccountPublisher(std::unique_ptr<BlueSkyService> service)
    : m_service(std::move(service))
{
}

QCoro::Task<void> BlueSkyAccountPublisher::publish(ThreadJob job, Delivered delivered, Status status)
{
    m_service->resetCancellation();
    std::optional<BlueSkyReplyRef> continueFrom;
    if (job.previous && job.head)
        continueFrom = BlueSkyReplyRef{{job.head->id, job.head->cid}, {job.previous->id, job.previous->cid}};
    const int from = job.from;
    const BlueSkyService::PostedCallback onPosted = [this, from, &delivered](int index, const BlueSkyRecordRef& posted) {
        const QUrl url = m_service->postURL(m_service->handle(), BlueSkyService::rkeyOf(posted.uri));
        delivered(DeliveredPost{from + index, posted.uri, url.toString(), posted.cid});
    };
    const BlueSkyService::StateCallback onState = [&status](const BlueSkyPublishState& state) { status(state.statusText()); };
    QCoro::Task<BlueSkyThreadResult> posting = m_service->postThread(job.thread.mid(from), onState, onPosted, continueFrom);
    co_await std::move(posting);
}

QCoro::Task<QList<RecentPost>> BlueSkyAccountPublisher::recentPosts()
{
    QCoro::Task<QList<RecentPost>> fetching = m_service->fetchRecentPosts();
    co_return co_await std::move(fetching);
}
