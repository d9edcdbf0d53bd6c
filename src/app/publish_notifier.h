#pragma once

#include "desktop/desktop_notifications.h"
#include "scheduling/scheduler_loop.h"

#include <QObject>

// Tells the person about every scheduled post that went out or failed: a log line always,
// and a desktop notification where a session has a notification server.
class PublishNotifier : public QObject {
    Q_OBJECT
public:
    PublishNotifier(SchedulerLoop& loop, DesktopNotifications& notifications, QObject* parent = nullptr);

    // "“First words of the post…”": how a notification names a post.
    static QString headline(const ScheduledPost& post);

private:
    void published(const ScheduledPost& post, const QList<PublishResult>& results, std::chrono::seconds late);
    void failed(const ScheduledPost& post, const QString& error);

    DesktopNotifications& m_notifications;
};
