#pragma once

#include "model/delivery_record.h"
#include "model/post.h"
#include "model/recent_post.h"

#include <QList>
#include <QString>

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>

// What to publish to one account: the thread from post `from` on, the first of those as a
// reply to `previous` (the last post that reached the account before).
struct ThreadJob {
    QList<Post> thread;
    int from = 0;
    std::optional<DeliveredPost> previous;
    // The thread's first post, when it is already out (a reply may have to name it).
    std::optional<DeliveredPost> head;
    // X communities: also show the post to the account's followers.
    bool shareWithFollowers = false;
    // The scheduled thread being published (null from the composer): with the account and
    // a post's place it makes keys that let a network refuse a repeated request.
    QUuid scheduledPostId;
};

// Publishes threads to one account through its network's client. Implementations exist
// per network; tests give the publishing service doubles.
class AccountPublisher {
public:
    using Delivered = std::function<void(const DeliveredPost&)>;
    using Status = std::function<void(const QString&)>;

    virtual ~AccountPublisher() = default;

    // Posts job.thread[from...] in order, calling `delivered` right after each post is on
    // the network (before the next request). Throws QuilloError.
    virtual QCoro::Task<void> publish(ThreadJob job, Delivered delivered, Status status) = 0;
    // The account's own latest top-level posts, for the quote picker; none where the
    // network's client cannot list them. Throws QuilloError.
    virtual QCoro::Task<QList<RecentPost>> recentPosts() { co_return QList<RecentPost>{}; }
    // Stops the running upload or request; publish() then throws.
    virtual void cancel() = 0;
};
