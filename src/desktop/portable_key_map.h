#pragma once

#include "desktop/keyboard_shortcut.h"

#include <QString>
#include <Qt>

#include <optional>

// Between the portable stored form and Qt's keys. Modifiers map as Qt maps a Mac
// keyboard: Command is Ctrl, Control is Meta (the Super key), Option is Alt, Shift is Shift.
// Keys are the ANSI layout's main block plus the whitespace, editing and function keys,
// which a recorder must be able to name so that validation can refuse them.
class PortableKeyMap {
public:
    static std::optional<Qt::Key> qtKey(quint16 keyCode);
    static std::optional<quint16> keyCode(Qt::Key key);
    // The key's character without modifiers ("c", ",", " ", "\t"); empty for keys that
    // type none (function keys, Escape, Delete).
    static QString keyEquivalent(quint16 keyCode);

    static Qt::KeyboardModifiers qtModifiers(quint32 modifiers);
    static quint32 portableModifiers(Qt::KeyboardModifiers modifiers);

    // The shortcut a key press makes, or nothing for a key outside the map.
    static std::optional<KeyboardShortcut> fromQt(Qt::Key key, Qt::KeyboardModifiers modifiers);
    // "Ctrl+Super+C", as the native keys are labelled here.
    static QString displayText(const KeyboardShortcut& shortcut);
};
