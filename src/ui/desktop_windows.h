#pragma once

#include "app/window_host.h"
#include "model/post.h"
#include "model/scheduled_post.h"
#include "ui/user_prompts.h"

#include <QObject>
#include <QPointer>

#include <memory>

class AppEvents;
class AutostartEntry;
class Composer;
class ComposerWindow;
class EditorConfigInstaller;
class OnboardingWindow;
class PostStorage;
class SettingsWindow;
class ShortcutManager;
class TrayController;

// The desktop instance's windows: the tray and the composer, shown on the requests that
// commands, the tray and the running services raise.
class DesktopWindows : public QObject {
    Q_OBJECT
public:
    // prompts: the settings' file panels and questions (Qt's dialogs when none is given).
    explicit DesktopWindows(const InstanceServices& services, std::unique_ptr<UserPrompts> prompts = nullptr,
                            QObject* parent = nullptr);
    ~DesktopWindows() override;

    // Created on first use and kept: its draft and state survive closing it.
    ComposerWindow& composer();
    Composer& composerModel() { return *m_composer; }
    TrayController& tray() { return *m_tray; }
    // Created on first use and kept, like the composer.
    SettingsWindow& settings();
    ShortcutManager& shortcuts() { return *m_shortcuts; }
    // The welcome window while it is (or was) shown this session; null before.
    OnboardingWindow* onboarding() const { return m_onboarding.get(); }

private:
    void showComposer(const QList<Post>& drafts, const QStringList& platforms);
    void showAlert(const QString& title, const QString& message);
    void notYetAvailable(const QString& what);
    void connectSettingsRequests(AppEvents& events);
    void setUpShortcuts();
    void showSettings(const QString& section);
    void showOnboarding();

    InstanceServices m_services;
    std::unique_ptr<PostStorage> m_storage;
    std::unique_ptr<Composer> m_composer;
    std::unique_ptr<ComposerWindow> m_composerWindow;
    std::unique_ptr<TrayController> m_tray;
    std::unique_ptr<UserPrompts> m_prompts;
    std::unique_ptr<ShortcutManager> m_shortcuts;
    std::unique_ptr<EditorConfigInstaller> m_installer;
    std::unique_ptr<AutostartEntry> m_autostart;
    std::unique_ptr<SettingsWindow> m_settingsWindow;
    std::unique_ptr<OnboardingWindow> m_onboarding;
};
