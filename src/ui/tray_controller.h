#pragma once

#include <QObject>

class AppEvents;
class Clock;
class PreferenceStore;
class QAction;
class QMenu;
class QSystemTrayIcon;
class SchedulerService;

// The tray icon and its menu: New Post, Post Schedule, Settings, the posts due today (when
// "ShowCalendarBadge" is on) and Quit. Where the desktop shows no tray, the menu's actions
// stay reachable through the composer and the quillo:// commands.
class TrayController : public QObject {
    Q_OBJECT
public:
    TrayController(AppEvents& events, SchedulerService& scheduler, PreferenceStore& preferences, const Clock& clock,
                   QObject* parent = nullptr);
    ~TrayController() override;

    QMenu* menu() const { return m_menu; }
    // "3 posts due today", or empty when the badge is off or nothing is due.
    QString dueTodayText() const;

Q_SIGNALS:
    void newPostRequested();
    // "Edit Video…" and "Redact Image…": the desktop windows ask for the file.
    void videoEditorRequested();
    void imageRedactionRequested();

private:
    void refreshDueToday();

    AppEvents& m_events;
    SchedulerService& m_scheduler;
    PreferenceStore& m_preferences;
    const Clock& m_clock;
    QMenu* m_menu;
    QAction* m_dueToday;
    QSystemTrayIcon* m_icon;
};
