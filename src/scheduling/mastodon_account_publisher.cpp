#include "scheduling/mastodon_account_publisher.h"

MastodonAccountPublisher::MastodonAccountPublisher(std::unique_ptr<MastodonService> service)
    : m_service(std::move(service))
{
}

QCoro::Task<void> MastodonAccountPublisher::publish(ThreadJob job, Delivered delivered, Status status)
{
    m_service->resetCancellation();
    MastodonThread thread;
    thread.posts = job.thread;
    thread.scheduledPostId = job.scheduledPostId;
    thread.firstIndex = job.from;
    thread.replyTo = job.previous ? job.previous->id : QString();
    const MastodonService::PostedCallback onPosted = [&delivered](int index, const MastodonPostResult& posted) {
        delivered(DeliveredPost{index, posted.id, posted.url.toString()});
    };
    const MastodonService::StateCallback onState = [&status](const MastodonPublishState& state) { status(state.statusText()); };
    QCoro::Task<QList<MastodonPostResult>> posting = m_service->postThread(thread, onState, onPosted);
    co_await std::move(posting);
}

QCoro::Task<QList<RecentPost>> MastodonAccountPublisher::recentPosts()
{
    QCoro::Task<QList<RecentPost>> fetching = m_service->fetchRecentPosts();
    co_return co_await std::move(fetching);
}
