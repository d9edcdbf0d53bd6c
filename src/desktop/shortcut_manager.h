#pragma once

#include "desktop/keyboard_shortcut.h"
#include "desktop/shortcut_action.h"
#include "desktop/shortcut_validator.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class PreferenceStore;
class ShortcutRegistrar;

// Owns the global shortcuts of the three actions: keeps them in the preference store
// under "KeyboardShortcut.v2.<action>", validates replacements, and has the registrar
// register them with the system. A missing or undecodable entry means the default; it
// is only written again by update() or reset().
class ShortcutManager : public QObject {
    Q_OBJECT
public:
    // Without a registrar nothing is registered: the headless instance has no hot keys.
    ShortcutManager(PreferenceStore& defaults, std::unique_ptr<ShortcutRegistrar> registrar,
                    QObject* parent = nullptr);
    ~ShortcutManager() override;

    static QString storageKey(ShortcutAction action);

    // Reads every entry (or takes the default), then registers them all.
    void load();

    const ShortcutMap& shortcuts() const { return m_shortcuts; }
    KeyboardShortcut shortcut(ShortcutAction action) const { return m_shortcuts.value(action); }

    // Throws ShortcutManagerError when shortcut may not become action's.
    void validate(ShortcutAction action, const KeyboardShortcut& shortcut) const;
    // Validates, stores, persists and re-registers; on a refusal nothing changes and
    // ShortcutManagerError is thrown.
    void update(ShortcutAction action, const KeyboardShortcut& shortcut);
    // Every action back to its default, every entry rewritten.
    void reset();

    // What runs when the action's shortcut is pressed (bring the window forward).
    void setHandler(ShortcutAction action, std::function<void()> handler);
    void trigger(ShortcutAction action) const;

    // While a recorder listens, the old combinations must reach it rather than fire.
    void setSuspended(bool suspended);

    // Why the system did not take the shortcuts (a key another program holds, a desktop
    // without the portal), one line per reason; empty when they are registered or there
    // is nothing to register.
    QString registrationProblem() const { return m_registrationProblem; }

Q_SIGNALS:
    void shortcutsChanged();
    void registrationProblemChanged(const QString& message);
    void usageEvent(const QString& name, const QVariantMap& properties);

private:
    KeyboardShortcut readEntry(ShortcutAction action);
    void writeEntry(ShortcutAction action);
    void registerAll();
    void setRegistrationProblem(const QString& message);
    void addRegistrationProblem(const QString& message);
    void reportUsage(const QString& name, const QVariantMap& properties);

    PreferenceStore& m_defaults;
    std::unique_ptr<ShortcutRegistrar> m_registrar;
    ShortcutMap m_shortcuts;
    QMap<ShortcutAction, std::function<void()>> m_handlers;
    // Entries that could not be decoded: kept aside before they are first overwritten.
    QSet<ShortcutAction> m_unreadable;
    QString m_registrationProblem;
    bool m_suspended = false;
};
