#include "ui/tray_controller.h"

#include "core/clock.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "store/scheduler_service.h"
#include "ui/app_icon.h"

#include <QApplication>
#include <QDateTime>
#include <QMenu>
#include <QSystemTrayIcon>

#include <algorithm>

TrayController::TrayController(AppEvents& events, SchedulerService& scheduler, PreferenceStore& preferences,
                               const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_events(events)
    , m_scheduler(scheduler)
    , m_preferences(preferences)
    , m_clock(clock)
    , m_menu(new QMenu)
    , m_icon(new QSystemTrayIcon(this))
{
    m_menu->addAction(tr("New Post"), this, &TrayController::newPostRequested);
    m_menu->addAction(tr("Post Schedule"), this, [this] { Q_EMIT m_events.calendarRequested({}, {}, {}); });
    m_menu->addAction(tr("Settings"), this, [this] { Q_EMIT m_events.settingsRequested({}); });
    m_menu->addAction(tr("Edit Video…"), this, &TrayController::videoEditorRequested);
    m_menu->addAction(tr("Redact Image…"), this, &TrayController::imageRedactionRequested);
    m_menu->addSeparator();
    m_dueToday = m_menu->addAction(QString());
    m_dueToday->setEnabled(false);
    m_menu->addSeparator();
    m_menu->addAction(tr("Quit Quillo"), qApp, &QCoreApplication::quit);

    m_icon->setIcon(AppIcon::icon());
    m_icon->setContextMenu(m_menu);
    m_icon->setToolTip(QStringLiteral("Quillo"));
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            Q_EMIT newPostRequested();
    });
    connect(&m_scheduler, &SchedulerService::scheduledPostsDidUpdate, this, &TrayController::refreshDueToday);
    connect(m_menu, &QMenu::aboutToShow, this, &TrayController::refreshDueToday);
    refreshDueToday();
    m_icon->show();
}

TrayController::~TrayController()
{
    delete m_menu;
}

QString TrayController::dueTodayText() const
{
    if (!m_preferences.boolValue(PreferenceKeys::ShowCalendarBadge).value_or(true))
        return {};
    // Today's bounds once, then plain comparisons: this runs after every change to a
    // schedule that may hold thousands of posts.
    const QDate today = m_clock.now().toDateTime().toLocalTime().date();
    const Timestamp start = Timestamp::fromDateTime(today.startOfDay());
    const Timestamp end = Timestamp::fromDateTime(today.addDays(1).startOfDay());
    const QList<ScheduledPost>& posts = m_scheduler.scheduledPosts();
    const qsizetype due = std::count_if(posts.cbegin(), posts.cend(), [&](const ScheduledPost& post) {
        return post.status == PostStatus::queued && post.scheduledDate >= start && post.scheduledDate < end;
    });
    if (due == 0)
        return {};
    return due == 1 ? tr("1 post due today") : tr("%1 posts due today").arg(due);
}

void TrayController::refreshDueToday()
{
    const QString text = dueTodayText();
    m_dueToday->setText(text);
    m_dueToday->setVisible(!text.isEmpty());
    m_icon->setToolTip(text.isEmpty() ? QStringLiteral("Quillo") : QStringLiteral("Quillo · ") + text);
}
