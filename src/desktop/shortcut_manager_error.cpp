#include "desktop/shortcut_manager_error.h"

ShortcutManagerError::ShortcutManagerError(Kind kind, QString message, std::optional<ShortcutAction> other)
    : QuilloError(std::move(message))
    , m_kind(kind)
    , m_other(other)
{
}

ShortcutManagerError ShortcutManagerError::missingCommandKey()
{
    return {Kind::missingCommandKey, QStringLiteral("Shortcuts must include the Command key.")};
}

ShortcutManagerError ShortcutManagerError::duplicate(ShortcutAction other)
{
    return {Kind::duplicate,
            QStringLiteral("That shortcut is already used for ") + shortcutActionDisplayName(other)
                + QStringLiteral(". Pick a different combination."),
            other};
}

ShortcutManagerError ShortcutManagerError::insufficientModifiers()
{
    return {Kind::insufficientModifiers, QStringLiteral("Add Control, Option, or Shift to avoid conflict with standard shortcuts.")};
}

ShortcutManagerError ShortcutManagerError::unsupportedKey()
{
    return {Kind::unsupportedKey, QStringLiteral("Choose a visible keyboard key. Function keys and whitespace are not supported.")};
}

ShortcutManagerError ShortcutManagerError::reservedCombination()
{
    return {Kind::reservedCombination, QStringLiteral("macOS already reserves that shortcut. Try another combination.")};
}
