#include "desktop/keyboard_shortcut.h"

#include <limits>

KeyboardShortcut KeyboardShortcut::defaultFor(ShortcutAction action)
{
    switch (action) {
    case ShortcutAction::composer: return {8, command | control, QStringLiteral("c")};
    case ShortcutAction::schedule: return {1, command | control, QStringLiteral("s")};
    case ShortcutAction::settings: return {43, command | control, QStringLiteral(",")};
    }
    return {};
}

void KeyboardShortcut::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("keyCode");
    writer.number(keyCode);
    writer.key("modifiers");
    writer.number(modifiers);
    writer.key("keyEquivalent");
    writer.string(keyEquivalent);
    writer.endObject();
}

QByteArray KeyboardShortcut::encode() const
{
    JsonWriter writer;
    write(writer);
    return writer.toByteArray();
}

namespace {

double wholeNumber(const JsonReader& reader, double max)
{
    const double value = reader.number();
    if (value < 0 || value > max || value != static_cast<double>(static_cast<qint64>(value)))
        reader.fail(CodingError::Kind::invalidValue, QStringLiteral("a whole number from 0 to %1").arg(max));
    return value;
}

} // namespace

KeyboardShortcut KeyboardShortcut::decode(const JsonReader& reader)
{
    reader.expectObject();
    KeyboardShortcut shortcut;
    shortcut.keyCode = static_cast<quint16>(wholeNumber(reader["keyCode"], std::numeric_limits<quint16>::max()));
    // Flags beyond the four modifiers (caps lock, the function key) are dropped, as on recording.
    const auto flags = static_cast<quint32>(wholeNumber(reader["modifiers"], std::numeric_limits<quint32>::max()));
    shortcut.modifiers = flags & modifierMask;
    shortcut.keyEquivalent = reader["keyEquivalent"].string();
    return shortcut;
}

KeyboardShortcut KeyboardShortcut::decode(const QByteArray& document)
{
    return JsonReader::read(document, DateEncoding::referenceSeconds,
                            [](const JsonReader& root) { return decode(root); });
}
