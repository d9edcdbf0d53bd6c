#pragma once

#include "model/scheduled_post.h"
#include "scheduling/publish_result.h"

#include <QObject>
#include <QSet>
#include <QTimer>

#include <qcoro/qcorotask.h>

#include <chrono>

class AccountManager;
class AccountPublisherFactory;
class Clock;
class DeliveryRecordStore;
class MediaValidator;
class PublishingService;
class SchedulerService;

// Publishes each queued scheduled post when its time has come: wakes on every full minute
// of the clock, marks a due post `processing` (saved before any network work, so no
// second pass and no restart publishes it blindly again), checks its media, publishes it
// to its accounts and records `published` or `failed`.
class SchedulerLoop : public QObject {
    Q_OBJECT
public:
    SchedulerLoop(SchedulerService& store, AccountManager& accounts, PublishingService& publishing,
                  MediaValidator& validator, AccountPublisherFactory& publishers, DeliveryRecordStore& deliveries,
                  const Clock& clock, QObject* parent = nullptr);

    // The time from `now` to the next full minute: more than 0, at most 60 seconds.
    static std::chrono::nanoseconds delayToNextMinute(Timestamp now);

    void start();
    void stop();
    // How many clock seconds pass per real second (an accelerated clock in tests).
    void setTimeScale(double scale) { m_timeScale = scale > 0 ? scale : 1; }
    bool isRunning() const { return m_running; }

    // One pass over the list; each minute runs one. A pass that is still publishing when
    // the next minute comes is left to finish; the next minute's pass picks up the rest.
    QCoro::Task<void> checkScheduledPosts();
    bool isChecking() const { return m_checking; }

    // Posts left `processing` by an instance that stopped mid-publication become `failed`
    // with what had been delivered, never published again unasked.
    void recoverInterrupted();

Q_SIGNALS:
    // `late` is how long after its time the post went out.
    void postPublished(const ScheduledPost& post, const QList<PublishResult>& results, std::chrono::seconds late);
    void postFailed(const ScheduledPost& post, const QString& error);
    // A pass ended (tests and benchmarks wait for it).
    void checkFinished();

private:
    void armTimer();
    void tick();
    // A post made due by a change (a retry, an edit back to queued) goes out without
    // waiting for the next minute.
    void checkSoonIfDue();
    int countWithLiveDestinations();
    // Keeps the count right after one post changed, without counting every post again.
    void recount(const QUuid& id);
    bool hasLiveDestination(const ScheduledPost& post) const;
    bool markProcessing(const ScheduledPost& post);
    QCoro::Task<void> process(ScheduledPost post);
    void markPublished(const ScheduledPost& post, const QList<PublishResult>& results);
    void markFailed(const ScheduledPost& post, const QString& error);

    SchedulerService& m_store;
    AccountManager& m_accounts;
    PublishingService& m_publishing;
    MediaValidator& m_validator;
    AccountPublisherFactory& m_publishers;
    DeliveryRecordStore& m_deliveries;
    const Clock& m_clock;
    QTimer m_timer;
    double m_timeScale = 1;
    bool m_running = false;
    bool m_aligned = false;
    bool m_checking = false;
    // The posts with a live destination, counted again in full only after the list was
    // replaced or the accounts changed; a change to one post updates them.
    std::optional<int> m_liveCount;
    QSet<QUuid> m_liveIds;
};
