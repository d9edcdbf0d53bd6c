#include "core/preference_keys.h"

#include "core/preference_store.h"

#include <vector>

namespace PreferenceKeys {

std::span<const PreferenceKey> all()
{
    using T = PreferenceType;
    static const std::vector<PreferenceKey> table = {
        {SoundEnabled, T::boolean, true, true},
        {AutoSplitEnabled, T::boolean, true, true},
        {ShowCalendarBadge, T::boolean, true, true},
        {AnalyticsEnabled, T::boolean, true, true},
        {PublishingExportPreset, T::string, QStringLiteral("socialMedia"), true},
        {WatermarkEnabled, T::boolean, true, true},
        {WatermarkImagePath, T::string, QString(), true},
        {WatermarkPosition, T::string, QStringLiteral("bottomRight"), true},
        {WatermarkMarginMultiplier, T::real, 1.0, true},
        // The settings screen shows 1.0 first but stores 0.5: 0.5 is what a fresh
        // installation renders with.
        {WatermarkSizeMultiplier, T::real, 0.5, true},
        {MCPEnabled, T::boolean, false, true},
        {ScheduledPosts, T::data, {}},
        {ComposerDrafts, T::data, {}},
        {OnboardingCurrentStep, T::integer, 0, true},
        {OnboardingCompleted, T::boolean, false, true},
        {NotificationsPromptSuppress, T::boolean, false, true},
        {ShareExtensionPromptSuppress, T::boolean, false, true},
        {CalendarSelectedDate, T::date, {}},
        {CalendarDisplayMode, T::string, {}},
        {VideoEditorTimelineZoom, T::real, {}},
        {VideoEditorSubtitlePanelWidth, T::real, {}},
        {VideoEditorExportPreset, T::string, {}},
        {StatusItemLastKnownX, T::real, {}},
        {SocialAccounts, T::data, {}},
        {SocialPlatforms, T::stringList, QStringList()},
    };
    return table;
}

const PreferenceKey* find(const QString& name)
{
    for (const PreferenceKey& key : all()) {
        if (key.name == name)
            return &key;
    }
    return nullptr;
}

void registerDefaults(PreferenceStore& store)
{
    for (const PreferenceKey& key : all()) {
        if (!key.registered || store.contains(key.name))
            continue;
        store.setValue(key.name, key.defaultValue);
    }
}

} // namespace PreferenceKeys
