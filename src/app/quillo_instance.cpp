#include "app/quillo_instance.h"

#include "app/app_log.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"

QuilloInstance::QuilloInstance(AppPaths paths, LaunchOptions options, PreferenceStore& preferences, QObject* parent)
    : QObject(parent)
    , m_paths(std::move(paths))
    , m_options(std::move(options))
    , m_preferences(preferences)
{
}

void QuilloInstance::launch()
{
    qCInfo(lcApp).noquote() << "Application did finish launching";
    prepareUiTestMode();

    // Every default a fresh installation stores ("ShowCalendarBadge" among them), after
    // a UI-test reset so the reset state gets them too; stored values are kept.
    PreferenceKeys::registerDefaults(m_preferences);

    qCInfo(lcApp).noquote() << "Adding license status observer";
    // This build has no licence service: the check always passes.
    qCInfo(lcApp).noquote() << "✅ License is valid, starting scheduler";
    checkOnboarding();
}

void QuilloInstance::prepareUiTestMode()
{
    if (!m_options.uiTestMode)
        return;
    qCInfo(lcApp).noquote() << "🧪 UI test mode enabled";
    if (!m_options.uiTestResetState)
        return;
    // The shared suite falls back to the same store, so clearing the domain also
    // clears "SocialAccounts" and "SocialPlatforms"; they are removed by name as well
    // so the intent stays visible if the two ever part.
    m_preferences.clear();
    m_preferences.remove(PreferenceKeys::SocialPlatforms);
    m_preferences.removeData(PreferenceKeys::SocialAccounts);
    m_preferences.sync();
}

void QuilloInstance::checkOnboarding()
{
    // Without windows there is nobody to onboard; UI tests drive the app themselves.
    const bool suppress = m_options.mode == RunMode::headless || m_options.uiTestMode;
    qCInfo(lcApp, "🎯 Onboarding check: suppressOnboardingPrompts=%s", suppress ? "true" : "false");
    if (suppress) {
        qCInfo(lcApp).noquote() << "   ❌ Onboarding suppressed";
        return;
    }
    qCInfo(lcApp).noquote() << "   ✅ Showing onboarding window...";
    m_onboardingDue = !m_preferences.boolValue(PreferenceKeys::OnboardingCompleted).value_or(false);
}
