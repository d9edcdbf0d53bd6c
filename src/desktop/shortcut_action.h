#pragma once

#include <QString>

#include <array>
#include <optional>

// The app actions that a global hot key can reach, in the order the settings list them.
enum class ShortcutAction { composer, schedule, settings };

inline constexpr std::array<ShortcutAction, 3> kShortcutActions{ShortcutAction::composer, ShortcutAction::schedule,
                                                                 ShortcutAction::settings};

// "composer", "schedule", "settings": the stored form, also the portal's shortcut id.
QString shortcutActionRawValue(ShortcutAction action);
std::optional<ShortcutAction> shortcutActionFromRawValue(const QString& rawValue);
// "Composer", "Post Schedule", "Settings".
QString shortcutActionDisplayName(ShortcutAction action);
