#include "desktop/shortcut_action.h"

QString shortcutActionRawValue(ShortcutAction action)
{
    switch (action) {
    case ShortcutAction::composer: return QStringLiteral("composer");
    case ShortcutAction::schedule: return QStringLiteral("schedule");
    case ShortcutAction::settings: return QStringLiteral("settings");
    }
    return {};
}

std::optional<ShortcutAction> shortcutActionFromRawValue(const QString& rawValue)
{
    for (const ShortcutAction action : kShortcutActions) {
        if (shortcutActionRawValue(action) == rawValue)
            return action;
    }
    return std::nullopt;
}

QString shortcutActionDisplayName(ShortcutAction action)
{
    switch (action) {
    case ShortcutAction::composer: return QStringLiteral("Composer");
    case ShortcutAction::schedule: return QStringLiteral("Post Schedule");
    case ShortcutAction::settings: return QStringLiteral("Settings");
    }
    return {};
}
