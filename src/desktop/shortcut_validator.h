#pragma once

#include "desktop/keyboard_shortcut.h"
#include "desktop/shortcut_action.h"

#include <QMap>

using ShortcutMap = QMap<ShortcutAction, KeyboardShortcut>;

// The rules a recorded shortcut must pass before it replaces one, in this order: one
// visible character on a key we can register, Command, a second modifier, not taken by
// the desktop, not another action's. Throws ShortcutManagerError for the first it fails.
class ShortcutValidator {
public:
    static void validate(ShortcutAction action, const KeyboardShortcut& shortcut, const ShortcutMap& current);

    // Combinations GNOME, KDE Plasma and Xfce (or their terminals) already take, in
    // portable form; only those with Command and a second modifier, the others fail earlier.
    static bool isReserved(const KeyboardShortcut& shortcut);

private:
    static bool hasOneVisibleCharacter(const KeyboardShortcut& shortcut);
};
