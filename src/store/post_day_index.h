#pragma once

#include "store/post_day_entry.h"

#include <QDate>
#include <QHash>
#include <QObject>
#include <QTimeZone>

#include <optional>

class SchedulerService;
struct ScheduledPost;

// The scheduled posts grouped by the day they go out, kept in step with the store one
// post at a time, so a calendar reads a day without walking the whole list.
class PostDayIndex : public QObject {
    Q_OBJECT
public:
    explicit PostDayIndex(SchedulerService& scheduler, QTimeZone zone = QTimeZone::systemTimeZone(),
                          QObject* parent = nullptr);

    // In time order; only those with `status` when it is given.
    QList<PostDayEntry> postsOn(QDate day, std::optional<PostStatus> status = std::nullopt) const;
    // Every post (with `status` when given), in time order.
    QList<PostDayEntry> allPosts(std::optional<PostStatus> status = std::nullopt) const;
    std::optional<PostDayEntry> entry(const QUuid& id) const;
    int size() const { return int(m_dayOf.size()); }
    int failedCount() const { return m_failed; }
    const QTimeZone& zone() const { return m_zone; }

    static PostDayEntry entryFor(const ScheduledPost& post, const QTimeZone& zone);

Q_SIGNALS:
    // The index changed (one post, or all of them after a reload).
    void changed();

private:
    void rebuild();
    void update(const QUuid& id);
    void insert(PostDayEntry entry);
    void take(const QUuid& id);

    SchedulerService& m_scheduler;
    QTimeZone m_zone;
    QHash<QDate, QList<PostDayEntry>> m_days;
    QHash<QUuid, QDate> m_dayOf;
    int m_failed = 0;
};
