#pragma once

#include "desktop/shortcut_registrar.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

// Global shortcuts on Wayland through xdg-desktop-portal's GlobalShortcuts interface:
// a session is created, the shortcuts are bound with our combinations as the preferred
// triggers (the desktop may let the person choose others), and Activated signals of
// that session run the actions. Every registration starts a new session, since a
// session binds its shortcuts only once.
class PortalShortcutRegistrar : public QObject, public ShortcutRegistrar {
    Q_OBJECT
public:
    explicit PortalShortcutRegistrar(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~PortalShortcutRegistrar() override;

    void registerAll(const ShortcutMap& shortcuts) override;
    void unregisterAll() override;

    // The trigger in the shortcuts format of freedesktop.org: "CTRL+LOGO+c".
    static QString preferredTrigger(const KeyboardShortcut& shortcut);
    static QString missingPortalMessage();

private Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results);
    // Activated(o session_handle, s shortcut_id, t timestamp, a{sv} options)
    void onActivated(const QDBusMessage& message);

private:
    enum class Stage { idle, creatingSession, binding };

    void checkInterface();
    void createSession();
    void bindShortcuts();
    void sessionCreated(const QVariantMap& results);
    void callPortal(const QDBusMessage& message, Stage stage, const QString& requestPath);
    void awaitResponse(const QString& requestPath, Stage stage);
    void stopAwaiting();
    void fail(const QString& message);
    QString requestPath(const QString& token) const;
    QString nextToken();

    QDBusConnection m_bus;
    ShortcutMap m_pending;
    QString m_session;
    QString m_awaitedPath;
    Stage m_stage = Stage::idle;
    // Answers to a registration that a later one replaced are ignored.
    quint64 m_generation = 0;
    int m_tokens = 0;
};
