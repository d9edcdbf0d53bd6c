// Notifications reach a notification server on a private session bus, and without a bus
// nothing breaks.
#include "desktop/desktop_notifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QProcess>
#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

// Stands in for the desktop's notification server.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QVariantList last;
    int calls = 0;

public Q_SLOTS:
    uint Notify(const QString& app, uint replaces, const QString& icon, const QString& summary, const QString& body,
                const QStringList& actions, const QVariantMap& hints, int timeout)
    {
        Q_UNUSED(replaces)
        Q_UNUSED(icon)
        Q_UNUSED(actions)
        Q_UNUSED(timeout)
        ++calls;
        last = {app, summary, body, hints.value(QStringLiteral("sound-name"))};
        return uint(calls);
    }
};

} // namespace

TEST(DesktopNotifications, ReachTheSessionsNotificationServer)
{
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--print-address"), QStringLiteral("--nofork")});
    ASSERT_TRUE(daemon.waitForReadyRead(5000)) << "dbus-daemon did not start";
    const QByteArray address = daemon.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);

    QDBusConnection serverBus = QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("fake-server"));
    ASSERT_TRUE(serverBus.isConnected());
    FakeNotificationServer server;
    ASSERT_TRUE(serverBus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &server, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(serverBus.registerService(QStringLiteral("org.freedesktop.Notifications")));

    DesktopNotifications notifications;
    EXPECT_TRUE(notifications.isAvailable());
    notifications.notify(DesktopNotifications::Kind::failure, QStringLiteral("Post not published"), QStringLiteral("“Hello” was not published"));
    const QDeadlineTimer deadline(5000);
    while (server.calls == 0 && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    ASSERT_EQ(server.calls, 1);
    EXPECT_EQ(server.last[0].toString(), QStringLiteral("Quillo"));
    EXPECT_EQ(server.last[1].toString(), QStringLiteral("Post not published"));
    EXPECT_EQ(server.last[3].toString(), QStringLiteral("dialog-warning"));

    serverBus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
    QDBusConnection::disconnectFromBus(QStringLiteral("fake-server"));
    daemon.kill();
    daemon.waitForFinished();
}

#include "desktop_notifications_test.moc"
