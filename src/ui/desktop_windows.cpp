#include "ui/desktop_windows.h"

#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/media_attacher.h"
#include "compose/post_storage.h"
#include "core/app_paths.h"
#include "desktop/autostart_entry.h"
#include "desktop/shortcut_manager.h"
#include "desktop/shortcut_registrar.h"
#include "desktop/shortcut_registrar_factory.h"
#include "events/app_events.h"
#include "mcp/editor_config_installer.h"
#include "media/worker_image_encoder.h"
#include "ui/calendar_window.h"
#include "ui/composer_window.h"
#include "ui/image_redaction_window.h"
#include "ui/onboarding_window.h"
#include "ui/qt_user_prompts.h"
#include "ui/settings_window.h"
#include "ui/tray_controller.h"
#include "ui/ui_log.h"
#include "ui/video_editor_window.h"

#include <QCoreApplication>
#include <QDir>
#include <QMessageBox>
#include <QProcessEnvironment>

namespace {

// The quillo binary beside this one: what editors and the login session start.
QString quilloExecutable()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("quillo"));
}

} // namespace

DesktopWindows::DesktopWindows(const InstanceServices& services, std::unique_ptr<UserPrompts> prompts, QObject* parent)
    : QObject(parent)
    , m_services(services)
    , m_storage(std::make_unique<PostStorage>(services.preferences))
    , m_composer(std::make_unique<Composer>(services.preferences, *m_storage, std::make_unique<QtDebounceTimer>()))
    , m_images(WorkerImageEncoder::defaultWorkerPath())
    , m_prober(WorkerImageEncoder::defaultWorkerPath())
    , m_attacher(std::make_unique<MediaAttacher>(services.paths.mediaDir(), m_images, m_prober))
    , m_tray(std::make_unique<TrayController>(services.events, services.scheduler, services.preferences, services.clock))
    , m_dialogs(MediaFileDialogs::native())
    , m_workerPath(WorkerImageEncoder::defaultWorkerPath())
    , m_prompts(prompts ? std::move(prompts) : std::make_unique<QtUserPrompts>())
    , m_shortcuts(std::make_unique<ShortcutManager>(services.preferences, makeShortcutRegistrar()))
    , m_installer(std::make_unique<EditorConfigInstaller>(services.preferences, quilloExecutable(), QDir::homePath(),
                                                          services.clock))
    , m_autostart(std::make_unique<AutostartEntry>(
          AutostartEntry::configHomeFrom(QProcessEnvironment::systemEnvironment()), quilloExecutable()))
{
    AppEvents& events = services.events;
    connect(m_tray.get(), &TrayController::newPostRequested, this, [this] { composer().bringToFront(); });
    connect(m_tray.get(), &TrayController::videoEditorRequested, this, &DesktopWindows::editVideoFile);
    connect(m_tray.get(), &TrayController::imageRedactionRequested, this, &DesktopWindows::redactImageFile);
    connect(&events, &AppEvents::activateRequested, this, [this] { showComposer({}, {}); });
    connect(&events, &AppEvents::composerRequested, this, &DesktopWindows::showComposer);
    connect(&events, &AppEvents::schedulerRequested, this, [this](const ScheduledPost& prefilled) {
        composer().bringToFront();
        composer().openScheduleSheet(prefilled);
    });
    connect(&events, &AppEvents::scheduledPostEditRequested, this, [this](const ScheduledPost& post) {
        m_composer->editScheduledPost(post);
        composer().selectDestinations(post);
        composer().bringToFront();
    });
    connect(&events, &AppEvents::alertRequested, this, &DesktopWindows::showAlert);
    connect(&events, &AppEvents::calendarRequested, this,
            [this](const QString& view, const QDateTime& date, const QString& status) { calendar().open(view, date, status); });
    connectSettingsRequests(events);
    connect(&events, &AppEvents::onboardingRequested, this, &DesktopWindows::showOnboarding);
    setUpShortcuts();
}

DesktopWindows::~DesktopWindows() = default;

void DesktopWindows::connectSettingsRequests(AppEvents& events)
{
    connect(&events, &AppEvents::settingsRequested, this, &DesktopWindows::showSettings);
    connect(&events, &AppEvents::addAccountRequested, this, [this](PlatformType platform, const QString&) {
        settings().showAddAccount(platform);
        settings().bringToFront();
    });
    connect(&events, &AppEvents::prefillMastodonInstanceRequested, this,
            [this](const QString& instance) { settings().prefillMastodonInstance(instance); });
    connect(&events, &AppEvents::accountConnectRequested, this,
            [this](PlatformType platform) { settings().pressConnect(platform); });
}

void DesktopWindows::setUpShortcuts()
{
    // The same paths as the tray's entries: New Post, Post Schedule, Settings.
    m_shortcuts->setHandler(ShortcutAction::composer, [this] { composer().bringToFront(); });
    m_shortcuts->setHandler(ShortcutAction::schedule,
                            [this] { Q_EMIT m_services.events.calendarRequested({}, {}, {}); });
    m_shortcuts->setHandler(ShortcutAction::settings,
                            [this] { Q_EMIT m_services.events.settingsRequested(QStringLiteral("shortcuts")); });
    m_shortcuts->load();
}

SettingsWindow& DesktopWindows::settings()
{
    if (!m_settingsWindow)
        m_settingsWindow =
            std::make_unique<SettingsWindow>(m_services, *m_shortcuts, *m_installer, *m_autostart, *m_prompts);
    return *m_settingsWindow;
}

void DesktopWindows::showSettings(const QString& section)
{
    settings().showSection(section);
    settings().bringToFront();
}

void DesktopWindows::showOnboarding()
{
    if (!m_onboarding)
        m_onboarding = std::make_unique<OnboardingWindow>(m_services.preferences, m_services.events, m_services.paths);
    m_onboarding->show();
    m_onboarding->raise();
    qCInfo(lcUi).noquote() << "🎯 Onboarding window shown";
}

ComposerWindow& DesktopWindows::composer()
{
    if (m_composerWindow)
        return *m_composerWindow;
    m_composerWindow = std::make_unique<ComposerWindow>(*m_composer, m_services, *m_attacher);
    // The editors hand back the same attachment (same id) with its edits as fields.
    connect(m_composerWindow.get(), &ComposerWindow::editVideoRequested, this, [this](const QUuid& postId, const PostMedia& media) {
        openVideoEditor(media, [this, postId](const PostMedia& edited) { m_composerWindow->applyMediaEdit(postId, edited); });
    });
    connect(m_composerWindow.get(), &ComposerWindow::redactImageRequested, this, [this](const QUuid& postId, const PostMedia& media) {
        openImageRedaction(media, [this, postId](const PostMedia& edited) { m_composerWindow->applyMediaEdit(postId, edited); });
    });
    return *m_composerWindow;
}

CalendarWindow& DesktopWindows::calendar()
{
    if (!m_calendarWindow)
        m_calendarWindow = std::make_unique<CalendarWindow>(m_services, m_browser);
    return *m_calendarWindow;
}

void DesktopWindows::showComposer(const QList<Post>& drafts, const QStringList& platforms)
{
    if (!drafts.isEmpty())
        m_composer->setPosts(drafts);
    composer().selectPlatforms(platforms);
    composer().bringToFront();
    qCInfo(lcUi).noquote() << QStringLiteral("🪟 Composer shown with %1 post(s)").arg(m_composer->posts().size());
}

void DesktopWindows::showAlert(const QString& title, const QString& message)
{
    // Not modal: an alert raised by a command must not block the commands after it.
    auto* box = new QMessageBox(QMessageBox::Warning, title, message, QMessageBox::Ok);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

VideoEditorWindow* DesktopWindows::openVideoEditor(const PostMedia& media, MediaEdited onEdited)
{
    auto* window = new VideoEditorWindow(media, m_services.preferences, m_workerPath, m_dialogs);
    window->setDeleteWhenClosed(true);
    connect(window, &VideoEditorWindow::mediaEdited, this, [onEdited = std::move(onEdited)](const PostMedia& edited) {
        if (onEdited)
            onEdited(edited);
    });
    window->show();
    window->raise();
    QCoro::connect(window->load(), window, [](bool) {});
    qCInfo(lcUi).noquote() << "🪟 Video editor shown for" << media.localFile();
    return window;
}

ImageRedactionWindow* DesktopWindows::openImageRedaction(const PostMedia& media, MediaEdited onEdited)
{
    auto* window = new ImageRedactionWindow(media, m_dialogs);
    window->setAttribute(Qt::WA_DeleteOnClose);
    connect(window, &ImageRedactionWindow::mediaEdited, this, [onEdited = std::move(onEdited)](const PostMedia& edited) {
        if (onEdited)
            onEdited(edited);
    });
    window->show();
    window->raise();
    qCInfo(lcUi).noquote() << "🪟 Redaction tool shown for" << media.localFile();
    return window;
}

namespace {

// An attachment over a file the person picked; it is copied into the media folder only
// when it goes into a post.
PostMedia pickedMedia(const QString& path, MediaType type)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = type;
    media.originalPath = FileUrl::fromLocalFile(path);
    return media;
}

} // namespace

void DesktopWindows::editVideoFile()
{
    const QString path = m_dialogs.openFile(nullptr, tr("Edit Video"), tr("Videos (*.mp4 *.mov *.m4v *.mkv *.webm)"));
    if (path.isEmpty())
        return;
    openVideoEditor(pickedMedia(path, MediaType::video), [this](const PostMedia& edited) { attachToComposer(edited); });
}

void DesktopWindows::redactImageFile()
{
    const QString path = m_dialogs.openFile(nullptr, tr("Redact Image"), tr("Images (*.png *.jpg *.jpeg *.webp *.heic)"));
    if (path.isEmpty())
        return;
    openImageRedaction(pickedMedia(path, MediaType::image), [this](const PostMedia& edited) { attachToComposer(edited); });
}

// The picked file goes into the media folder (posts own their files); its edits come along.
void DesktopWindows::attachToComposer(const PostMedia& edited)
{
    const PostMedia attached = edited.copiedInto(m_services.paths.mediaDir());
    if (attached.originalPath == edited.originalPath)
        qCWarning(lcUi).noquote() << "⚠️ Could not copy" << edited.localFile() << "into the media folder; the post uses it in place";
    m_composer->addMedia(m_composer->posts().size() - 1, {attached});
    composer().bringToFront();
}
