#include "screenshot_session.h"
#include "screenshots.h"

#include "core/preference_keys.h"
#include "desktop/autostart_entry.h"
#include "desktop/shortcut_manager.h"
#include "desktop/shortcut_registrar.h"
#include "mcp/editor_config_installer.h"
#include "ui/onboarding_window.h"
#include "ui/settings_window.h"
#include "../scripted_prompts.h"

#include <QPainter>

namespace {

// A small round logo, so the watermark preview shows something real.
QString sampleLogo(const QString& folder)
{
    QImage logo(240, 240, QImage::Format_ARGB32_Premultiplied);
    logo.fill(Qt::transparent);
    QPainter painter(&logo);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(0xf5, 0xa6, 0x23));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(logo.rect().adjusted(8, 8, -8, -8));
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setPixelSize(130);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(logo.rect(), Qt::AlignCenter, QStringLiteral("Q"));
    painter.end();
    const QString path = folder + QStringLiteral("/logo.png");
    logo.save(path);
    return path;
}

void addSampleAccounts(UiStack& stack)
{
    stack.addAccount(PlatformType::x, QStringLiteral("quillo_app"));
    SocialAccount sky = *stack.accounts.account(stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.bsky.social")).id);
    sky.nickname = QStringLiteral("Personal");
    stack.accounts.updateAccount(sky);
    stack.addAccount(PlatformType::bluesky, QStringLiteral("quillo.bsky.social"));
    stack.addAccount(PlatformType::mastodon, QStringLiteral("quillo@fosstodon.org"));
}

} // namespace

void addSettingsShots(ScreenshotSession& session)
{
    UiStack& stack = session.stack();
    addSampleAccounts(stack);
    stack.preferences.setValue(PreferenceKeys::WatermarkImagePath, sampleLogo(stack.home.path()));
    ScriptedPrompts prompts;
    ShortcutManager shortcuts(stack.preferences, nullptr);
    shortcuts.load();
    EditorConfigInstaller installer(stack.preferences, QStringLiteral("/usr/bin/quillo"), stack.home.path(), stack.clock);
    AutostartEntry autostart(stack.home.path() + QStringLiteral("/xdg-config"), QStringLiteral("/usr/bin/quillo"));

    SettingsWindow window(stack.services(), shortcuts, installer, autostart, prompts);
    for (int i = 0; i < SettingsSections::kCount; ++i) {
        const auto section = static_cast<SettingsSection>(i);
        window.showSection(section);
        session.save(window, QStringLiteral("settings-") + SettingsSections::name(section));
    }

    OnboardingWindow onboarding(stack.preferences, stack.events, stack.paths);
    for (int step = 0; step < 3; ++step) {
        onboarding.showStep(step);
        session.save(onboarding, QStringLiteral("onboarding-%1").arg(step + 1));
    }
}
