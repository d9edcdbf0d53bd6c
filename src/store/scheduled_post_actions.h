#pragma once

#include <QDateTime>
#include <QUuid>

#include <optional>

class SchedulerService;

// What a person does to one stored post from the schedule: move it, copy it, delete it,
// send a failed one again. Each change goes through the store, which saves and announces it.
class ScheduledPostActions {
public:
    explicit ScheduledPostActions(SchedulerService& scheduler);

    // False for a post that is published or being published (those times are history)
    // and for one that is gone.
    bool reschedule(const QUuid& id, const QDateTime& when);
    // A draft copy under a new id, at the same time, so it never goes out twice unasked.
    std::optional<QUuid> duplicate(const QUuid& id);
    bool remove(const QUuid& id);
    // Queues a failed post again with its delivery record kept: the accounts that have
    // the thread are skipped and a thread cut short goes on where it stopped. False for
    // any other status.
    bool retry(const QUuid& id);

private:
    SchedulerService& m_scheduler;
};
