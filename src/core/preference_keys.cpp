#include "core/preference_keys.h"

#include "core/preference_store.h"

#include <vector>

namespace PreferenceKeys {

std::span<const PreferenceKey> all()
{
    using T = PreferenceType;
    static const std::vector<PreferenceKey> table = {
        {SoundEnabled, T::Bool, true, true},
        {AutoSplitEnabled, T::Bool, true, true},
        {ShowCalendarBadge, T::Bool, true, true},
        {AnalyticsEnabled, T::Bool, true, true},
        {PublishingExportPreset, T::String, QStringLiteral("socialMedia"), true},
        {WatermarkEnabled, T::Bool, true, true},
        {WatermarkImagePath, T::String, QString(), true},
        {WatermarkPosition, T::String, QStringLiteral("bottomRight"), true},
        {WatermarkMarginMultiplier, T::Double, 1.0, true},
        // The settings screen shows 1.0 first but stores 0.5: 0.5 is what a fresh
        // installation renders with.
        {WatermarkSizeMultiplier, T::Double, 0.5, true},
        {MCPEnabled, T::Bool, false, true},
        {ScheduledPosts, T::Data, {}},
        {ComposerDrafts, T::Data, {}},
        {OnboardingCurrentStep, T::Integer, 0, true},
        {OnboardingCompleted, T::Bool, false, true},
        {NotificationsPromptSuppress, T::Bool, false, true},
        {ShareExtensionPromptSuppress, T::Bool, false, true},
        {CalendarSelectedDate, T::Date, {}},
        {CalendarDisplayMode, T::String, {}},
        {VideoEditorTimelineZoom, T::Double, {}},
        {VideoEditorSubtitlePanelWidth, T::Double, {}},
        {VideoEditorExportPreset, T::String, {}},
        {StatusItemLastKnownX, T::Double, {}},
        {SocialAccounts, T::Data, {}},
        {SocialPlatforms, T::StringList, QStringList()},
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
