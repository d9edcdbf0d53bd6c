#pragma once

#include "app/window_host.h"
#include "media/worker_image_encoder.h"
#include "media/worker_media_prober.h"
#include "core/xdg_url_opener.h"
#include "model/post.h"
#include "model/scheduled_post.h"
#include "ui/media_file_dialogs.h"
#include "ui/user_prompts.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class AppEvents;
class AutostartEntry;
class CalendarWindow;
class Composer;
class MediaAttacher;
class ComposerWindow;
class ImageRedactionWindow;
class EditorConfigInstaller;
class OnboardingWindow;
class PostStorage;
class SettingsWindow;
class ShortcutManager;
class TrayController;
class VideoEditorWindow;

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
    // Created on first use and kept, like the composer.
    CalendarWindow& calendar();
    TrayController& tray() { return *m_tray; }
    // Created on first use and kept, like the composer.
    SettingsWindow& settings();
    ShortcutManager& shortcuts() { return *m_shortcuts; }
    // The welcome window while it is (or was) shown this session; null before.
    OnboardingWindow* onboarding() const { return m_onboarding.get(); }

    // The media editors over one attachment. `onEdited` receives the item with the edits as
    // fields ("Use in post"); the file itself is never changed. Each call opens a window of
    // its own, which deletes itself when closed; the returned pointer is for observing it.
    using MediaEdited = std::function<void(const PostMedia& edited)>;
    VideoEditorWindow* openVideoEditor(const PostMedia& media, MediaEdited onEdited);
    ImageRedactionWindow* openImageRedaction(const PostMedia& media, MediaEdited onEdited);
    // The tray's "Edit Video…" and "Redact Image…": ask for a file, open it, and put the
    // edited item into the composer's last post.
    void editVideoFile();
    void redactImageFile();
    // Seams for tests: the open/save dialogs and where the media worker is.
    void setMediaFileDialogs(MediaFileDialogs dialogs) { m_dialogs = std::move(dialogs); }
    void setMediaWorkerPath(const QString& path) { m_workerPath = path; }

private:
    void showComposer(const QList<Post>& drafts, const QStringList& platforms);
    void showAlert(const QString& title, const QString& message);
    void attachToComposer(const PostMedia& media);
    void connectSettingsRequests(AppEvents& events);
    void setUpShortcuts();
    void showSettings(const QString& section);
    void showOnboarding();

    InstanceServices m_services;
    std::unique_ptr<PostStorage> m_storage;
    std::unique_ptr<Composer> m_composer;
    WorkerImageEncoder m_images;
    WorkerMediaProber m_prober;
    std::unique_ptr<MediaAttacher> m_attacher;
    std::unique_ptr<ComposerWindow> m_composerWindow;
    std::unique_ptr<TrayController> m_tray;
    MediaFileDialogs m_dialogs;
    QString m_workerPath;
    std::unique_ptr<UserPrompts> m_prompts;
    std::unique_ptr<ShortcutManager> m_shortcuts;
    std::unique_ptr<EditorConfigInstaller> m_installer;
    std::unique_ptr<AutostartEntry> m_autostart;
    std::unique_ptr<SettingsWindow> m_settingsWindow;
    std::unique_ptr<OnboardingWindow> m_onboarding;
    XdgUrlOpener m_browser;
    std::unique_ptr<CalendarWindow> m_calendarWindow;
};
