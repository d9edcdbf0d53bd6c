// The running desktop instance's request paths: commands, the tray, the global shortcuts
// and the first start reach the settings and onboarding windows.
#include "core/preference_keys.h"
#include "desktop/shortcut_manager.h"
#include "events/app_events.h"
#include "ui/account_settings_page.h"
#include "ui/composer_window.h"
#include "ui/desktop_windows.h"
#include "ui/mastodon_account_form.h"
#include "ui/onboarding_window.h"
#include "ui/settings_window.h"
#include "scripted_prompts.h"
#include "ui_stack.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class DesktopWindowsTest : public ::testing::Test {
protected:
    UiStack stack;
    DesktopWindows windows{stack.services(), std::make_unique<ScriptedPrompts>()};
};

} // namespace

TEST_F(DesktopWindowsTest, CommandsTheTrayAndShortcutsOpenTheSettingsWhereTheyAsk)
{
    Q_EMIT stack.events.settingsRequested(QStringLiteral("data"));
    EXPECT_TRUE(windows.settings().isVisible());
    EXPECT_EQ(windows.settings().currentSection(), SettingsSection::data);
    Q_EMIT stack.events.settingsRequested({}); // the tray's Settings entry
    EXPECT_EQ(windows.settings().currentSection(), SettingsSection::general);

    // quillo://accounts?action=add&platform=mastodon&instance=…
    Q_EMIT stack.events.addAccountRequested(PlatformType::mastodon, QStringLiteral("social-mastodon"));
    Q_EMIT stack.events.prefillMastodonInstanceRequested(QStringLiteral("mastodon.example"));
    EXPECT_EQ(windows.settings().currentSection(), SettingsSection::mastodon);
    auto* form = static_cast<MastodonAccountForm*>(windows.settings().accountPage(PlatformType::mastodon)->form());
    EXPECT_EQ(form->instanceEdit()->text(), QStringLiteral("mastodon.example"));

    windows.shortcuts().trigger(ShortcutAction::settings);
    EXPECT_EQ(windows.settings().currentSection(), SettingsSection::shortcuts);
    windows.shortcuts().trigger(ShortcutAction::composer);
    EXPECT_TRUE(windows.composer().isVisible());
}

TEST_F(DesktopWindowsTest, TheFirstStartShowsOnboardingWhichRemembersItsStepAndEnds)
{
    EXPECT_EQ(windows.onboarding(), nullptr);
    Q_EMIT stack.events.onboardingRequested();
    OnboardingWindow* onboarding = windows.onboarding();
    ASSERT_NE(onboarding, nullptr);
    EXPECT_TRUE(onboarding->isVisible());

    // Its first step opens the network's account form in the settings.
    QPushButton* connectSky = nullptr;
    for (QPushButton* button : onboarding->findChildren<QPushButton*>())
        if (button->text() == QStringLiteral("Connect BlueSky"))
            connectSky = button;
    ASSERT_NE(connectSky, nullptr);
    QTest::mouseClick(connectSky, Qt::LeftButton);
    EXPECT_TRUE(windows.settings().isVisible());
    EXPECT_EQ(windows.settings().currentSection(), SettingsSection::bluesky);

    QTest::mouseClick(onboarding->nextButton(), Qt::LeftButton);
    EXPECT_EQ(stack.preferences.intValue(PreferenceKeys::OnboardingCurrentStep), 1);
    // Reopened later, it comes back at the step shown last.
    OnboardingWindow reopened(stack.preferences, stack.events, stack.paths);
    EXPECT_EQ(reopened.currentStep(), 1);

    QTest::mouseClick(onboarding->nextButton(), Qt::LeftButton);
    EXPECT_EQ(onboarding->nextButton()->text(), QStringLiteral("Done"));
    EXPECT_FALSE(stack.preferences.boolValue(PreferenceKeys::OnboardingCompleted).value_or(false));
    QTest::mouseClick(onboarding->nextButton(), Qt::LeftButton);
    EXPECT_TRUE(stack.preferences.boolValue(PreferenceKeys::OnboardingCompleted).value_or(false));
    EXPECT_FALSE(onboarding->isVisible());
}
