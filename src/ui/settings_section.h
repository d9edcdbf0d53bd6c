#pragma once

#include "model/platform_type.h"

#include <QString>

#include <optional>

// The settings window's pages, in the order of its sidebar.
enum class SettingsSection { general, composer, watermark, x, bluesky, mastodon, shortcuts, data, mcp, about };

namespace SettingsSections {

inline constexpr int kCount = 10;

// The page a section name opens: the names of `quillo://settings?section=` and of the
// account forms ("social-bluesky"), in any case. Nothing for an unknown name.
std::optional<SettingsSection> fromName(const QString& name);
// "general", "x", "mcp", ...: the name fromName reads back.
QString name(SettingsSection section);
QString title(SettingsSection section);
SettingsSection forPlatform(PlatformType platform);

} // namespace SettingsSections
