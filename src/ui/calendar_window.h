#pragma once

#include "app/window_host.h"
#include "core/user_defaults_storage.h"
#include "store/delivery_record_store.h"
#include "store/post_day_index.h"
#include "store/scheduled_post_actions.h"
#include "ui/calendar_mode.h"

#include <QDate>
#include <QTimer>
#include <QWidget>

#include <optional>

class CalendarListModel;
class CalendarToolbar;
class MonthView;
class PostDetailsPanel;
class QComboBox;
class QFrame;
class QLabel;
class QListView;
class QPushButton;
class QStackedWidget;
class TimeGridView;
class UrlOpener;

// "Post Schedule": the scheduled posts by month, week, day or as a list, with a status
// filter. Posts can be moved by dragging, opened for editing, copied, deleted and, when
// they failed, sent again. Failed and interrupted posts are counted in a banner that
// shows them. The view and the selected day are remembered.
class CalendarWindow : public QWidget {
    Q_OBJECT
public:
    CalendarWindow(const InstanceServices& services, UrlOpener& browser, QWidget* parent = nullptr);
    ~CalendarWindow() override;

    // quillo://calendar and the tray: an empty view or an invalid date keeps the current
    // one; an empty status (or "all") shows every post.
    void open(const QString& view, const QDateTime& date, const QString& status);

    void setMode(CalendarMode mode);
    void setSelectedDate(QDate day);
    void setStatusFilter(std::optional<PostStatus> status);
    void selectPost(const QUuid& id);

    CalendarMode mode() const { return m_mode; }
    QDate selectedDate() const { return m_selectedDate; }
    std::optional<PostStatus> statusFilter() const { return m_filter; }
    const QUuid& selectedPost() const { return m_selectedPost; }
    const PostDayIndex& index() const { return m_index; }

    MonthView* monthView() const { return m_month; }
    TimeGridView* timeGridView() const { return m_grid; }
    QListView* listView() const { return m_list; }
    PostDetailsPanel* detailsPanel() const { return m_details; }
    QFrame* failedBanner() const { return m_banner; }
    QPushButton* showFailedButton() const { return m_showFailed; }
    QComboBox* statusBox() const;

private:
    QWidget* buildToolbar();
    QFrame* buildBanner();
    void connectViews();
    void restoreState();
    void saveState();
    void step(int direction);
    void showMode();
    void pushViewState();
    void refresh();
    void armMidnight();
    void refreshBanner();
    void refreshDetails();
    void refreshList();
    void refreshTitle();
    QDate today() const;
    QDate weekStart(QDate day) const;
    QList<QUrl> publishedLinks(const QUuid& id) const;

    void moveToDay(const QUuid& id, QDate day);
    void moveToTime(const QUuid& id, const QDateTime& when);
    void edit(const QUuid& id);
    void duplicate(const QUuid& id);
    void confirmDelete(const QUuid& id);
    void retry(const QUuid& id);
    void openLink(const QUrl& url);

    InstanceServices m_services;
    UrlOpener& m_browser;
    UserDefaultsStorage m_state;
    PostDayIndex m_index;
    ScheduledPostActions m_actions;
    DeliveryRecordStore m_deliveries;
    CalendarMode m_mode = CalendarMode::month;
    QDate m_selectedDate;
    std::optional<PostStatus> m_filter;
    QUuid m_selectedPost;
    // Changes arrive one post at a time; they are drawn together once control is back.
    QTimer m_refresh;
    // Fires once just after midnight, so "today" moves on in a window left open.
    QTimer m_midnight;

    CalendarToolbar* m_toolbar = nullptr;
    QFrame* m_banner = nullptr;
    QLabel* m_bannerText = nullptr;
    QPushButton* m_showFailed = nullptr;
    QStackedWidget* m_stack = nullptr;
    MonthView* m_month = nullptr;
    TimeGridView* m_grid = nullptr;
    QListView* m_list = nullptr;
    CalendarListModel* m_listModel = nullptr;
    PostDetailsPanel* m_details = nullptr;
};
