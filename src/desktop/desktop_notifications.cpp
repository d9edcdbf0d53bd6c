#include "desktop/desktop_notifications.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");

} // namespace

DesktopNotifications::DesktopNotifications(QObject* parent)
    : QObject(parent)
{
}

bool DesktopNotifications::isAvailable() const
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() && bus.interface()->isServiceRegistered(kService).value();
}

void DesktopNotifications::notify(Kind kind, const QString& summary, const QString& body)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(kService, QStringLiteral("/org/freedesktop/Notifications"), kService,
                                                       QStringLiteral("Notify"));
    const bool success = kind == Kind::success;
    QVariantMap hints;
    hints.insert(QStringLiteral("sound-name"),
                 success ? QStringLiteral("message-new-instant") : QStringLiteral("dialog-warning"));
    hints.insert(QStringLiteral("urgency"), QVariant::fromValue(uchar(success ? 1 : 2)));
    hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("quillo"));
    call << QStringLiteral("Quillo") << uint(0) << QStringLiteral("quillo") << summary << body << QStringList() << hints
         << int(-1);
    // Fire and forget: a missing notification server must never hold up publishing.
    bus.asyncCall(call);
}
