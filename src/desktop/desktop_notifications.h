#pragma once

#include <QObject>
#include <QString>

// Notifications on the desktop through org.freedesktop.Notifications on the session bus
// (every Linux desktop has a server for it). Without a session bus, or when nobody
// answers, notify() does nothing: the caller's log line is then the only trace.
class DesktopNotifications : public QObject {
    Q_OBJECT
public:
    enum class Kind { success, failure };

    explicit DesktopNotifications(QObject* parent = nullptr);

    bool isAvailable() const;
    // The sound is asked for with the freedesktop sound theme's name for the kind.
    void notify(Kind kind, const QString& summary, const QString& body);
};
