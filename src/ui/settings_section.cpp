#include "ui/settings_section.h"

#include <QHash>

namespace SettingsSections {

std::optional<SettingsSection> fromName(const QString& name)
{
    using S = SettingsSection;
    static const QHash<QString, S> names = {
        {QStringLiteral("general"), S::general},     {QStringLiteral("composer"), S::composer},
        {QStringLiteral("watermark"), S::watermark}, {QStringLiteral("social"), S::x},
        {QStringLiteral("accounts"), S::x},          {QStringLiteral("social/accounts"), S::x},
        {QStringLiteral("x"), S::x},                 {QStringLiteral("social-x"), S::x},
        {QStringLiteral("twitter"), S::x},           {QStringLiteral("bluesky"), S::bluesky},
        {QStringLiteral("social-bluesky"), S::bluesky}, {QStringLiteral("mastodon"), S::mastodon},
        {QStringLiteral("social-mastodon"), S::mastodon}, {QStringLiteral("shortcuts"), S::shortcuts},
        {QStringLiteral("data"), S::data},           {QStringLiteral("mcp"), S::mcp},
        {QStringLiteral("mcp server"), S::mcp},      {QStringLiteral("mcp-server"), S::mcp},
        {QStringLiteral("mcpserver"), S::mcp},       {QStringLiteral("about"), S::about},
    };
    const auto found = names.constFind(name.trimmed().toLower());
    if (found == names.constEnd())
        return std::nullopt;
    return *found;
}

QString name(SettingsSection section)
{
    switch (section) {
    case SettingsSection::general: return QStringLiteral("general");
    case SettingsSection::composer: return QStringLiteral("composer");
    case SettingsSection::watermark: return QStringLiteral("watermark");
    case SettingsSection::x: return QStringLiteral("x");
    case SettingsSection::bluesky: return QStringLiteral("bluesky");
    case SettingsSection::mastodon: return QStringLiteral("mastodon");
    case SettingsSection::shortcuts: return QStringLiteral("shortcuts");
    case SettingsSection::data: return QStringLiteral("data");
    case SettingsSection::mcp: return QStringLiteral("mcp");
    case SettingsSection::about: return QStringLiteral("about");
    }
    return QStringLiteral("general");
}

QString title(SettingsSection section)
{
    switch (section) {
    case SettingsSection::general: return QStringLiteral("General");
    case SettingsSection::composer: return QStringLiteral("Composer");
    case SettingsSection::watermark: return QStringLiteral("Watermark");
    case SettingsSection::x: return displayName(PlatformType::x);
    case SettingsSection::bluesky: return displayName(PlatformType::bluesky);
    case SettingsSection::mastodon: return displayName(PlatformType::mastodon);
    case SettingsSection::shortcuts: return QStringLiteral("Shortcuts");
    case SettingsSection::data: return QStringLiteral("Data");
    case SettingsSection::mcp: return QStringLiteral("MCP Server");
    case SettingsSection::about: return QStringLiteral("About");
    }
    return {};
}

SettingsSection forPlatform(PlatformType platform)
{
    switch (platform) {
    case PlatformType::x: return SettingsSection::x;
    case PlatformType::bluesky: return SettingsSection::bluesky;
    case PlatformType::mastodon: return SettingsSection::mastodon;
    }
    return SettingsSection::x;
}

} // namespace SettingsSections
