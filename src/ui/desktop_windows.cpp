#include "ui/desktop_windows.h"

#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "events/app_events.h"
#include "ui/calendar_window.h"
#include "ui/composer_window.h"
#include "ui/tray_controller.h"
#include "ui/ui_log.h"

#include <QMessageBox>

DesktopWindows::DesktopWindows(const InstanceServices& services, QObject* parent)
    : QObject(parent)
    , m_services(services)
    , m_storage(std::make_unique<PostStorage>(services.preferences))
    , m_composer(std::make_unique<Composer>(services.preferences, *m_storage, std::make_unique<QtDebounceTimer>()))
    , m_tray(std::make_unique<TrayController>(services.events, services.scheduler, services.preferences, services.clock))
{
    AppEvents& events = services.events;
    connect(m_tray.get(), &TrayController::newPostRequested, this, [this] { composer().bringToFront(); });
    connect(&events, &AppEvents::activateRequested, this, [this] { showComposer({}, {}); });
    connect(&events, &AppEvents::composerRequested, this, &DesktopWindows::showComposer);
    connect(&events, &AppEvents::schedulerRequested, this, [this](const ScheduledPost& prefilled) {
        composer().bringToFront();
        composer().openScheduleSheet(prefilled);
    });
    connect(&events, &AppEvents::scheduledPostEditRequested, this, [this](const ScheduledPost& post) {
        m_composer->editScheduledPost(post);
        composer().selectPlatforms(post.platforms);
        composer().bringToFront();
    });
    connect(&events, &AppEvents::alertRequested, this, &DesktopWindows::showAlert);
    connect(&events, &AppEvents::calendarRequested, this,
            [this](const QString& view, const QDateTime& date, const QString& status) { calendar().open(view, date, status); });
    connect(&events, &AppEvents::settingsRequested, this, [this] { notYetAvailable(tr("The settings window")); });
}

DesktopWindows::~DesktopWindows() = default;

ComposerWindow& DesktopWindows::composer()
{
    if (!m_composerWindow)
        m_composerWindow = std::make_unique<ComposerWindow>(*m_composer, m_services);
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

void DesktopWindows::notYetAvailable(const QString& what)
{
    showAlert(QStringLiteral("Quillo"), tr("%1 is not part of this version yet; meanwhile your editor's MCP tools "
                                           "list and edit scheduled posts.").arg(what));
}
