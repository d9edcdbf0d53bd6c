#include "desktop/portable_key_map.h"

#include <QStringList>

#include <array>
#include <utility>

namespace {

struct KeyEntry {
    quint16 keyCode;
    Qt::Key key;
    char16_t character; // 0: the key types nothing
};

// ANSI-layout virtual key codes.
constexpr std::array kKeys{
    KeyEntry{0, Qt::Key_A, u'a'},  KeyEntry{1, Qt::Key_S, u's'},  KeyEntry{2, Qt::Key_D, u'd'},
    KeyEntry{3, Qt::Key_F, u'f'},  KeyEntry{4, Qt::Key_H, u'h'},  KeyEntry{5, Qt::Key_G, u'g'},
    KeyEntry{6, Qt::Key_Z, u'z'},  KeyEntry{7, Qt::Key_X, u'x'},  KeyEntry{8, Qt::Key_C, u'c'},
    KeyEntry{9, Qt::Key_V, u'v'},  KeyEntry{11, Qt::Key_B, u'b'}, KeyEntry{12, Qt::Key_Q, u'q'},
    KeyEntry{13, Qt::Key_W, u'w'}, KeyEntry{14, Qt::Key_E, u'e'}, KeyEntry{15, Qt::Key_R, u'r'},
    KeyEntry{16, Qt::Key_Y, u'y'}, KeyEntry{17, Qt::Key_T, u't'}, KeyEntry{18, Qt::Key_1, u'1'},
    KeyEntry{19, Qt::Key_2, u'2'}, KeyEntry{20, Qt::Key_3, u'3'}, KeyEntry{21, Qt::Key_4, u'4'},
    KeyEntry{22, Qt::Key_6, u'6'}, KeyEntry{23, Qt::Key_5, u'5'}, KeyEntry{24, Qt::Key_Equal, u'='},
    KeyEntry{25, Qt::Key_9, u'9'}, KeyEntry{26, Qt::Key_7, u'7'}, KeyEntry{27, Qt::Key_Minus, u'-'},
    KeyEntry{28, Qt::Key_8, u'8'}, KeyEntry{29, Qt::Key_0, u'0'}, KeyEntry{30, Qt::Key_BracketRight, u']'},
    KeyEntry{31, Qt::Key_O, u'o'}, KeyEntry{32, Qt::Key_U, u'u'}, KeyEntry{33, Qt::Key_BracketLeft, u'['},
    KeyEntry{34, Qt::Key_I, u'i'}, KeyEntry{35, Qt::Key_P, u'p'}, KeyEntry{36, Qt::Key_Return, u'\r'},
    KeyEntry{37, Qt::Key_L, u'l'}, KeyEntry{38, Qt::Key_J, u'j'}, KeyEntry{39, Qt::Key_Apostrophe, u'\''},
    KeyEntry{40, Qt::Key_K, u'k'}, KeyEntry{41, Qt::Key_Semicolon, u';'}, KeyEntry{42, Qt::Key_Backslash, u'\\'},
    KeyEntry{43, Qt::Key_Comma, u','}, KeyEntry{44, Qt::Key_Slash, u'/'}, KeyEntry{45, Qt::Key_N, u'n'},
    KeyEntry{46, Qt::Key_M, u'm'}, KeyEntry{47, Qt::Key_Period, u'.'}, KeyEntry{48, Qt::Key_Tab, u'\t'},
    KeyEntry{49, Qt::Key_Space, u' '}, KeyEntry{50, Qt::Key_QuoteLeft, u'`'}, KeyEntry{51, Qt::Key_Backspace, 0x7f},
    KeyEntry{53, Qt::Key_Escape, 0x1b}, KeyEntry{76, Qt::Key_Enter, 0x03}, KeyEntry{96, Qt::Key_F5, 0},
    KeyEntry{97, Qt::Key_F6, 0}, KeyEntry{98, Qt::Key_F7, 0}, KeyEntry{99, Qt::Key_F3, 0},
    KeyEntry{100, Qt::Key_F8, 0}, KeyEntry{101, Qt::Key_F9, 0}, KeyEntry{103, Qt::Key_F11, 0},
    KeyEntry{109, Qt::Key_F10, 0}, KeyEntry{111, Qt::Key_F12, 0}, KeyEntry{115, Qt::Key_Home, 0},
    KeyEntry{116, Qt::Key_PageUp, 0}, KeyEntry{117, Qt::Key_Delete, 0}, KeyEntry{118, Qt::Key_F4, 0},
    KeyEntry{119, Qt::Key_End, 0}, KeyEntry{120, Qt::Key_F2, 0}, KeyEntry{121, Qt::Key_PageDown, 0},
    KeyEntry{122, Qt::Key_F1, 0}, KeyEntry{123, Qt::Key_Left, 0}, KeyEntry{124, Qt::Key_Right, 0},
    KeyEntry{125, Qt::Key_Down, 0}, KeyEntry{126, Qt::Key_Up, 0},
};

// With Shift held Qt names the symbol a US layout types, not the key: Shift+1 is Key_Exclam.
constexpr std::array<std::pair<Qt::Key, Qt::Key>, 21> kShiftedSymbols{{
    {Qt::Key_Exclam, Qt::Key_1},       {Qt::Key_At, Qt::Key_2},           {Qt::Key_NumberSign, Qt::Key_3},
    {Qt::Key_Dollar, Qt::Key_4},       {Qt::Key_Percent, Qt::Key_5},      {Qt::Key_AsciiCircum, Qt::Key_6},
    {Qt::Key_Ampersand, Qt::Key_7},    {Qt::Key_Asterisk, Qt::Key_8},     {Qt::Key_ParenLeft, Qt::Key_9},
    {Qt::Key_ParenRight, Qt::Key_0},   {Qt::Key_Underscore, Qt::Key_Minus}, {Qt::Key_Plus, Qt::Key_Equal},
    {Qt::Key_BraceLeft, Qt::Key_BracketLeft}, {Qt::Key_BraceRight, Qt::Key_BracketRight}, {Qt::Key_Bar, Qt::Key_Backslash},
    {Qt::Key_Colon, Qt::Key_Semicolon}, {Qt::Key_QuoteDbl, Qt::Key_Apostrophe}, {Qt::Key_Less, Qt::Key_Comma},
    {Qt::Key_Greater, Qt::Key_Period}, {Qt::Key_Question, Qt::Key_Slash}, {Qt::Key_AsciiTilde, Qt::Key_QuoteLeft},
}};

struct ModifierEntry {
    quint32 portable;
    Qt::KeyboardModifier qt;
    const char16_t* label;
};

// In the order the labels are shown.
constexpr std::array kModifiers{
    ModifierEntry{KeyboardShortcut::command, Qt::ControlModifier, u"Ctrl"},
    ModifierEntry{KeyboardShortcut::control, Qt::MetaModifier, u"Super"},
    ModifierEntry{KeyboardShortcut::option, Qt::AltModifier, u"Alt"},
    ModifierEntry{KeyboardShortcut::shift, Qt::ShiftModifier, u"Shift"},
};

const KeyEntry* entryFor(quint16 keyCode)
{
    for (const KeyEntry& entry : kKeys) {
        if (entry.keyCode == keyCode)
            return &entry;
    }
    return nullptr;
}

} // namespace

std::optional<Qt::Key> PortableKeyMap::qtKey(quint16 keyCode)
{
    const KeyEntry* entry = entryFor(keyCode);
    if (!entry)
        return std::nullopt;
    return entry->key;
}

std::optional<quint16> PortableKeyMap::keyCode(Qt::Key key)
{
    // Shift+Tab arrives as Backtab.
    Qt::Key unshifted = key == Qt::Key_Backtab ? Qt::Key_Tab : key;
    for (const auto& [symbol, base] : kShiftedSymbols) {
        if (symbol == key)
            unshifted = base;
    }
    for (const KeyEntry& entry : kKeys) {
        if (entry.key == unshifted)
            return entry.keyCode;
    }
    return std::nullopt;
}

QString PortableKeyMap::keyEquivalent(quint16 keyCode)
{
    const KeyEntry* entry = entryFor(keyCode);
    if (!entry || entry->character == 0)
        return {};
    return QString(QChar(entry->character));
}

Qt::KeyboardModifiers PortableKeyMap::qtModifiers(quint32 modifiers)
{
    Qt::KeyboardModifiers result;
    for (const ModifierEntry& entry : kModifiers) {
        if (modifiers & entry.portable)
            result |= entry.qt;
    }
    return result;
}

quint32 PortableKeyMap::portableModifiers(Qt::KeyboardModifiers modifiers)
{
    quint32 result = 0;
    for (const ModifierEntry& entry : kModifiers) {
        if (modifiers.testFlag(entry.qt))
            result |= entry.portable;
    }
    return result;
}

std::optional<KeyboardShortcut> PortableKeyMap::fromQt(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    const std::optional<quint16> code = keyCode(key);
    if (!code)
        return std::nullopt;
    return KeyboardShortcut{*code, portableModifiers(modifiers), keyEquivalent(*code)};
}

QString PortableKeyMap::displayText(const KeyboardShortcut& shortcut)
{
    QStringList parts;
    for (const ModifierEntry& entry : kModifiers) {
        if (shortcut.modifiers & entry.portable)
            parts << QString::fromUtf16(entry.label);
    }
    const QString character = keyEquivalent(shortcut.keyCode);
    if (character == QStringLiteral(" "))
        parts << QStringLiteral("Space");
    else if (!character.isEmpty() && character.at(0).isPrint())
        parts << character.toUpper();
    else
        parts << QStringLiteral("Key %1").arg(shortcut.keyCode);
    return parts.join(QLatin1Char('+'));
}
