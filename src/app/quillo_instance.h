#pragma once

#include "app/launch_options.h"
#include "core/app_paths.h"

#include <QObject>

class PreferenceStore;

// The long-running Quillo process (headless or desktop): runs the launch steps that
// need no window, then serves until it is asked to quit.
class QuilloInstance : public QObject {
    Q_OBJECT
public:
    QuilloInstance(AppPaths paths, LaunchOptions options, PreferenceStore& preferences, QObject* parent = nullptr);

    void launch();
    // The launch found a first start to welcome: not suppressed, onboarding not completed.
    bool onboardingDue() const { return m_onboardingDue; }

private:
    void prepareUiTestMode();
    void checkOnboarding();

    AppPaths m_paths;
    LaunchOptions m_options;
    PreferenceStore& m_preferences;
    bool m_onboardingDue = false;
};
