#pragma once

#include <QLatin1String>
#include <QString>
#include <QVariant>

#include <span>

class PreferenceStore;

enum class PreferenceType { boolean, string, real, integer, data, date, stringList };

// One entry of the key table. An invalid defaultValue means the key has no default
// and stays absent until something stores it.
struct PreferenceKey {
    QLatin1String name;
    PreferenceType type;
    QVariant defaultValue;
    // Whether the defaults routine writes defaultValue when nothing is stored.
    bool registered = false;
};

// Names of every key, so callers never spell one by hand.
namespace PreferenceKeys {
inline constexpr QLatin1String SoundEnabled{"SoundEnabled"};
inline constexpr QLatin1String AutoSplitEnabled{"AutoSplitEnabled"};
inline constexpr QLatin1String ShowCalendarBadge{"ShowCalendarBadge"};
inline constexpr QLatin1String AnalyticsEnabled{"AnalyticsEnabled"};
inline constexpr QLatin1String PublishingExportPreset{"PublishingExportPreset"};
inline constexpr QLatin1String WatermarkEnabled{"WatermarkEnabled"};
inline constexpr QLatin1String WatermarkImagePath{"WatermarkImagePath"};
inline constexpr QLatin1String WatermarkPosition{"WatermarkPosition"};
inline constexpr QLatin1String WatermarkMarginMultiplier{"WatermarkMarginMultiplier"};
inline constexpr QLatin1String WatermarkSizeMultiplier{"WatermarkSizeMultiplier"};
inline constexpr QLatin1String MCPEnabled{"MCP.Enabled"};
inline constexpr QLatin1String ScheduledPosts{"scheduledPosts"};
inline constexpr QLatin1String ComposerDrafts{"composerDrafts"};
inline constexpr QLatin1String OnboardingCurrentStep{"OnboardingCurrentStep"};
inline constexpr QLatin1String OnboardingCompleted{"OnboardingCompleted"};
inline constexpr QLatin1String NotificationsPromptSuppress{"NotificationsPrompt.Suppress"};
inline constexpr QLatin1String ShareExtensionPromptSuppress{"ShareExtensionPrompt.Suppress"};
inline constexpr QLatin1String CalendarSelectedDate{"CalendarWindow.selectedDate"};
inline constexpr QLatin1String CalendarDisplayMode{"CalendarWindow.displayMode"};
inline constexpr QLatin1String VideoEditorTimelineZoom{"VideoEditor.timelineZoom"};
inline constexpr QLatin1String VideoEditorSubtitlePanelWidth{"VideoEditor.subtitlePanelWidth"};
inline constexpr QLatin1String VideoEditorExportPreset{"VideoEditor.exportPreset"};
inline constexpr QLatin1String StatusItemLastKnownX{"StatusItemPosition.lastKnownX"};
// The shared (application group) keys; on Linux they live in the same store.
inline constexpr QLatin1String SocialAccounts{"SocialAccounts"};
inline constexpr QLatin1String SocialPlatforms{"SocialPlatforms"};

// Every key with its type and default.
std::span<const PreferenceKey> all();
const PreferenceKey* find(const QString& name);

// Writes the default of each registered key that has no stored value yet; never
// overwrites a stored value.
void registerDefaults(PreferenceStore& store);

// The value typed text stands for under the key's type ("true"/"false", a finite
// number, an integer, any text, an ISO 8601 date, a comma-separated list), or the
// reason it is refused. Documents ("data") are never set as text.
struct ParsedValue {
    QVariant value;
    QString error;
};
ParsedValue parseValue(const PreferenceKey& key, const QString& text);
// A stored value as the text parseValue reads back.
QString displayText(const PreferenceKey& key, const QVariant& value);
QString typeName(PreferenceType type);
} // namespace PreferenceKeys
