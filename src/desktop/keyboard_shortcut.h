#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "desktop/shortcut_action.h"

#include <QByteArray>
#include <QString>

// A shortcut in its portable stored form: the ANSI-layout virtual key code and the four
// modifier bits of the Mac keyboard it was first defined on, so a stored value means the
// same on every platform. PortableKeyMap turns it into native keys when it is registered.
struct KeyboardShortcut {
    static constexpr quint32 shift = 0x20000;
    static constexpr quint32 control = 0x40000;
    static constexpr quint32 option = 0x80000;
    static constexpr quint32 command = 0x100000;
    static constexpr quint32 modifierMask = shift | control | option | command;

    quint16 keyCode = 0;
    // Only the bits of modifierMask.
    quint32 modifiers = 0;
    // The key's character without modifiers, lower-cased.
    QString keyEquivalent;

    bool operator==(const KeyboardShortcut&) const = default;
    bool hasSameKeys(const KeyboardShortcut& other) const
    {
        return keyCode == other.keyCode && modifiers == other.modifiers;
    }

    // Command + Control + C, Command + Control + S, Command + Control + comma.
    static KeyboardShortcut defaultFor(ShortcutAction action);

    // {"keyCode":…, "modifiers":…, "keyEquivalent":…}
    void write(JsonWriter& writer) const;
    QByteArray encode() const;
    // Throws CodingError when the document is not a shortcut.
    static KeyboardShortcut decode(const JsonReader& reader);
    static KeyboardShortcut decode(const QByteArray& document);
};
