#pragma once

#include "desktop/shortcut_registrar.h"

#include <QByteArray>
#include <QList>
#include <QObject>

#include <cstdint>

struct xcb_connection_t;
struct _XCBKeySymbols;
class QSocketNotifier;

// Global shortcuts on an X11 session: passive key grabs on the root window over a
// connection of its own, so no Qt GUI is needed to receive the presses. Each
// combination is grabbed with and without NumLock and CapsLock, which X counts as
// modifiers and which would otherwise silence the shortcut while they are on.
class X11ShortcutRegistrar : public QObject, public ShortcutRegistrar {
    Q_OBJECT
public:
    // The display of $DISPLAY when displayName is empty.
    explicit X11ShortcutRegistrar(const QByteArray& displayName = {}, QObject* parent = nullptr);
    ~X11ShortcutRegistrar() override;

    bool isConnected() const { return m_connection != nullptr; }

    void registerAll(const ShortcutMap& shortcuts) override;
    void unregisterAll() override;

private:
    struct Grab {
        std::uint8_t keycode;
        std::uint16_t modifiers;
        ShortcutAction action;
    };

    void grab(ShortcutAction action, const KeyboardShortcut& shortcut);
    QList<std::uint8_t> keycodesFor(const KeyboardShortcut& shortcut) const;
    QList<std::uint16_t> lockVariants(std::uint16_t modifiers) const;
    std::uint16_t findNumLockMask() const;
    void readEvents();

    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_root = 0;
    _XCBKeySymbols* m_symbols = nullptr;
    QSocketNotifier* m_notifier = nullptr;
    std::uint16_t m_numLockMask = 0;
    QList<Grab> m_grabs;
};
