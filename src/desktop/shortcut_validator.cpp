#include "desktop/shortcut_validator.h"

#include "desktop/portable_key_map.h"
#include "desktop/shortcut_manager_error.h"

#include <array>

namespace {

struct Combination {
    quint32 modifiers;
    quint16 keyCode;
};

constexpr quint32 kCtrlAlt = KeyboardShortcut::command | KeyboardShortcut::option;
constexpr quint32 kCtrlShift = KeyboardShortcut::command | KeyboardShortcut::shift;
constexpr quint32 kCtrlAltShift = kCtrlAlt | KeyboardShortcut::shift;

constexpr std::array kReserved{
    Combination{kCtrlAlt, 17},      // Ctrl+Alt+T: terminal (GNOME on Ubuntu, Xfce)
    Combination{kCtrlAlt, 37},      // Ctrl+Alt+L: lock screen (KDE Plasma, Xfce)
    Combination{kCtrlAlt, 2},       // Ctrl+Alt+D: show desktop (Xfce, older GNOME)
    Combination{kCtrlAlt, 0},       // Ctrl+Alt+A: window demanding attention (KDE Plasma)
    Combination{kCtrlAlt, 3},       // Ctrl+Alt+F: file manager (Xfce)
    Combination{kCtrlAltShift, 15}, // Ctrl+Alt+Shift+R: screen recording (GNOME)
    Combination{kCtrlShift, 8},     // Ctrl+Shift+C: copy in every desktop's terminal
    Combination{kCtrlShift, 9},     // Ctrl+Shift+V: paste in every desktop's terminal
};

} // namespace

void ShortcutValidator::validate(ShortcutAction action, const KeyboardShortcut& shortcut, const ShortcutMap& current)
{
    if (!hasOneVisibleCharacter(shortcut))
        throw ShortcutManagerError::unsupportedKey();
    if (!(shortcut.modifiers & KeyboardShortcut::command))
        throw ShortcutManagerError::missingCommandKey();
    constexpr quint32 extra = KeyboardShortcut::control | KeyboardShortcut::option | KeyboardShortcut::shift;
    if (!(shortcut.modifiers & extra))
        throw ShortcutManagerError::insufficientModifiers();
    if (isReserved(shortcut))
        throw ShortcutManagerError::reservedCombination();
    for (auto it = current.cbegin(); it != current.cend(); ++it) {
        if (it.key() != action && it.value().hasSameKeys(shortcut))
            throw ShortcutManagerError::duplicate(it.key());
    }
}

bool ShortcutValidator::isReserved(const KeyboardShortcut& shortcut)
{
    for (const Combination& combination : kReserved) {
        if (combination.keyCode == shortcut.keyCode && combination.modifiers == shortcut.modifiers)
            return true;
    }
    return false;
}

bool ShortcutValidator::hasOneVisibleCharacter(const KeyboardShortcut& shortcut)
{
    // A key we cannot map could never be registered, whatever its stored character says.
    if (!PortableKeyMap::qtKey(shortcut.keyCode))
        return false;
    const QString& text = shortcut.keyEquivalent;
    if (text.size() != 1)
        return false;
    const QChar character = text.at(0);
    return character.isPrint() && !character.isSpace();
}
