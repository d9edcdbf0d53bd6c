// Shortcuts bound through a fake GlobalShortcuts portal on a private session bus.
#include "core/preference_store.h"
#include "desktop/portal_shortcut.h"
#include "desktop/portal_shortcut_registrar.h"
#include "desktop/shortcut_manager.h"
#include "support/temp_home.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDeadlineTimer>
#include <QProcess>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");

// Answers as xdg-desktop-portal does: a request path at once, the result later as a
// Response signal on that path.
class FakePortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)
public:
    explicit FakePortal(QDBusConnection bus)
        : m_bus(std::move(bus))
    {
    }

    uint version() const { return 1; }

    QList<PortalShortcutList> bound;
    QStringList sessions;
    uint bindResponse = 0;

    void activate(const QString& id)
    {
        QDBusMessage signal = QDBusMessage::createSignal(kPortalPath, QStringLiteral("org.freedesktop.portal.GlobalShortcuts"),
                                                         QStringLiteral("Activated"));
        signal << QVariant::fromValue(QDBusObjectPath(sessions.last())) << id << qulonglong(0) << QVariantMap();
        m_bus.send(signal);
    }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap& options, const QDBusMessage& message)
    {
        sessions << kPortalPath + QStringLiteral("/session/") + sender(message)
                        + QLatin1Char('/') + options.value(QStringLiteral("session_handle_token")).toString();
        return respond(message, options, 0, {{QStringLiteral("session_handle"), sessions.last()}});
    }

    QDBusObjectPath BindShortcuts(const QDBusObjectPath& session, const QList<PortalShortcut>& shortcuts,
                                  const QString& parentWindow, const QVariantMap& options, const QDBusMessage& message)
    {
        Q_UNUSED(parentWindow)
        if (session.path() == sessions.last())
            bound << shortcuts;
        return respond(message, options, bindResponse, {});
    }

private:
    static QString sender(const QDBusMessage& message)
    {
        return message.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    }

    QDBusObjectPath respond(const QDBusMessage& message, const QVariantMap& options, uint response, const QVariantMap& results)
    {
        const QString path = kPortalPath + QStringLiteral("/request/") + sender(message) + QLatin1Char('/')
                             + options.value(QStringLiteral("handle_token")).toString();
        QTimer::singleShot(0, this, [this, path, response, results] {
            QDBusMessage signal = QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Request"),
                                                             QStringLiteral("Response"));
            signal << response << results;
            m_bus.send(signal);
        });
        return QDBusObjectPath(path);
    }

    QDBusConnection m_bus;
};

bool waitFor(const std::function<bool()>& done)
{
    const QDeadlineTimer deadline(10000);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

class PortalShortcutTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        PortalShortcut::registerDBusTypes();
        m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--print-address"), QStringLiteral("--nofork")});
        ASSERT_TRUE(m_daemon.waitForReadyRead(5000)) << "dbus-daemon did not start";
        m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
    void TearDown() override
    {
        m_manager.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("portal-server"));
        QDBusConnection::disconnectFromBus(QStringLiteral("portal-client"));
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    QDBusConnection bus(const QString& name) const { return QDBusConnection::connectToBus(m_address, name); }

    ShortcutManager& startManager()
    {
        m_manager = std::make_unique<ShortcutManager>(
            m_preferences, std::make_unique<PortalShortcutRegistrar>(bus(QStringLiteral("portal-client"))));
        m_manager->load();
        return *m_manager;
    }

    QProcess m_daemon;
    QString m_address;
    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    std::unique_ptr<ShortcutManager> m_manager;
};

} // namespace

TEST_F(PortalShortcutTest, BindsTheShortcutsAndRunsTheActivatedOne)
{
    QDBusConnection server = bus(QStringLiteral("portal-server"));
    FakePortal portal(server);
    ASSERT_TRUE(server.registerObject(kPortalPath, &portal, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties));
    ASSERT_TRUE(server.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));

    ShortcutManager& manager = startManager();
    int settings = 0;
    manager.setHandler(ShortcutAction::settings, [&] { ++settings; });
    ASSERT_TRUE(waitFor([&] { return portal.bound.size() == 1; }));
    const PortalShortcutList& first = portal.bound[0];
    ASSERT_EQ(first.size(), 3);
    EXPECT_EQ(first[0].id, QStringLiteral("composer"));
    EXPECT_EQ(first[0].properties.value(QStringLiteral("preferred_trigger")).toString(), QStringLiteral("CTRL+LOGO+c"));
    EXPECT_EQ(first[1].properties.value(QStringLiteral("description")).toString(), QStringLiteral("Post Schedule"));
    EXPECT_EQ(first[2].properties.value(QStringLiteral("preferred_trigger")).toString(), QStringLiteral("CTRL+LOGO+comma"));

    portal.activate(QStringLiteral("settings"));
    EXPECT_TRUE(waitFor([&] { return settings == 1; }));

    // A change is bound in a new session, and presses arrive from that one.
    manager.update(ShortcutAction::settings, {47, KeyboardShortcut::command | KeyboardShortcut::shift, QStringLiteral(".")});
    ASSERT_TRUE(waitFor([&] { return portal.bound.size() == 2; }));
    EXPECT_EQ(portal.sessions.size(), 2);
    EXPECT_EQ(portal.bound[1][2].properties.value(QStringLiteral("preferred_trigger")).toString(), QStringLiteral("SHIFT+CTRL+period"));
    portal.activate(QStringLiteral("settings"));
    EXPECT_TRUE(waitFor([&] { return settings == 2; }));
    EXPECT_TRUE(manager.registrationProblem().isEmpty());

    portal.bindResponse = 1; // the person dismissed the desktop's dialog
    manager.reset();
    EXPECT_TRUE(waitFor([&] { return !manager.registrationProblem().isEmpty(); }));
    EXPECT_EQ(manager.registrationProblem(), QStringLiteral("The desktop did not accept Quillo's global shortcuts."));
}

TEST_F(PortalShortcutTest, ADesktopWithoutThePortalGetsAClearMessage)
{
    ShortcutManager& manager = startManager();
    EXPECT_TRUE(waitFor([&] { return !manager.registrationProblem().isEmpty(); }));
    EXPECT_EQ(manager.registrationProblem(), PortalShortcutRegistrar::missingPortalMessage());
}

#include "portal_shortcut_registrar_test.moc"
