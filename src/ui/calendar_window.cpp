#include "ui/calendar_window.h"

#include "core/app_paths.h"
#include "core/clock.h"
#include "core/url_opener.h"
#include "events/app_events.h"
#include "store/scheduler_service.h"
#include "ui/calendar_list_model.h"
#include "ui/calendar_toolbar.h"
#include "ui/month_view.h"
#include "ui/post_details_panel.h"
#include "ui/time_grid_view.h"
#include "ui/ui_log.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace {

const QString kModeKey = QStringLiteral("displayMode");
const QString kDateKey = QStringLiteral("selectedDate");
// Without a post to show first, the day view opens at the start of a working day.
constexpr int kDefaultFirstHour = 8;

QString idText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace

CalendarWindow::CalendarWindow(const InstanceServices& services, UrlOpener& browser, QWidget* parent)
    : QWidget(parent)
    , m_services(services)
    , m_browser(browser)
    , m_state(QStringLiteral("CalendarWindow"), services.preferences)
    , m_index(services.scheduler)
    , m_actions(services.scheduler)
    , m_deliveries(services.paths.deliveriesDir())
{
    setWindowTitle(tr("Post Schedule"));
    resize(1240, 760);
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(0);
    connect(&m_refresh, &QTimer::timeout, this, &CalendarWindow::refresh);
    m_midnight.setSingleShot(true);
    m_midnight.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_midnight, &QTimer::timeout, this, [this] {
        pushViewState();
        armMidnight();
    });
    armMidnight();
    connect(&m_index, &PostDayIndex::changed, &m_refresh, qOverload<>(&QTimer::start));

    m_month = new MonthView(m_index, this);
    m_grid = new TimeGridView(m_index, this);
    m_list = new QListView(this);
    m_listModel = new CalendarListModel(m_index, this);
    m_list->setModel(m_listModel);
    m_list->setUniformItemSizes(true);
    m_list->setAlternatingRowColors(true);
    m_list->setSpacing(1);
    // The status colour as a thin bar beside each row.
    m_list->setIconSize(QSize(6, fontMetrics().height() * 2));
    m_stack = new QStackedWidget(this);
    m_stack->addWidget(m_month);
    m_stack->addWidget(m_grid);
    m_stack->addWidget(m_list);
    m_details = new PostDetailsPanel(this);

    auto* body = new QHBoxLayout;
    body->addWidget(m_stack, 1);
    body->addWidget(m_details);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildToolbar());
    layout->addWidget(buildBanner());
    layout->addLayout(body, 1);
    connectViews();
    restoreState();
    m_grid->scrollToHour(kDefaultFirstHour);
    refresh();
}

CalendarWindow::~CalendarWindow() = default;

QComboBox* CalendarWindow::statusBox() const
{
    return m_toolbar->statusBox();
}

QWidget* CalendarWindow::buildToolbar()
{
    m_toolbar = new CalendarToolbar(this);
    connect(m_toolbar, &CalendarToolbar::stepRequested, this, &CalendarWindow::step);
    connect(m_toolbar, &CalendarToolbar::todayRequested, this, [this] { setSelectedDate(today()); });
    connect(m_toolbar, &CalendarToolbar::modeChosen, this, &CalendarWindow::setMode);
    connect(m_toolbar, &CalendarToolbar::statusChosen, this, &CalendarWindow::setStatusFilter);
    return m_toolbar;
}

QFrame* CalendarWindow::buildBanner()
{
    m_banner = new QFrame(this);
    m_banner->setObjectName(QStringLiteral("failedBanner"));
    m_banner->setStyleSheet(QStringLiteral("#failedBanner { background: rgba(214, 54, 54, 0.14); "
                                           "border: 1px solid #d63636; border-radius: 4px; }"));
    auto* row = new QHBoxLayout(m_banner);
    row->setContentsMargins(10, 4, 6, 4);
    m_bannerText = new QLabel(m_banner);
    m_showFailed = new QPushButton(tr("Show them"), m_banner);
    connect(m_showFailed, &QPushButton::clicked, this, [this] {
        setStatusFilter(PostStatus::failed);
        setMode(CalendarMode::list);
    });
    row->addWidget(m_bannerText, 1);
    row->addWidget(m_showFailed);
    return m_banner;
}

void CalendarWindow::connectViews()
{
    connect(m_month, &MonthView::daySelected, this, &CalendarWindow::setSelectedDate);
    connect(m_month, &MonthView::dayActivated, this, [this](QDate day) {
        setSelectedDate(day);
        setMode(CalendarMode::day);
    });
    connect(m_month, &MonthView::postSelected, this, &CalendarWindow::selectPost);
    connect(m_month, &MonthView::postActivated, this, &CalendarWindow::edit);
    connect(m_month, &MonthView::postMoved, this, &CalendarWindow::moveToDay);
    connect(m_grid, &TimeGridView::daySelected, this, &CalendarWindow::setSelectedDate);
    connect(m_grid, &TimeGridView::postSelected, this, &CalendarWindow::selectPost);
    connect(m_grid, &TimeGridView::postActivated, this, &CalendarWindow::edit);
    connect(m_grid, &TimeGridView::postMoved, this, &CalendarWindow::moveToTime);
    connect(m_list, &QListView::clicked, this,
            [this](const QModelIndex& row) { selectPost(row.data(CalendarListModel::IdRole).toUuid()); });
    connect(m_list, &QListView::activated, this,
            [this](const QModelIndex& row) { edit(row.data(CalendarListModel::IdRole).toUuid()); });
    connect(m_details, &PostDetailsPanel::editRequested, this, &CalendarWindow::edit);
    connect(m_details, &PostDetailsPanel::duplicateRequested, this, &CalendarWindow::duplicate);
    connect(m_details, &PostDetailsPanel::deleteRequested, this, &CalendarWindow::confirmDelete);
    connect(m_details, &PostDetailsPanel::retryRequested, this, &CalendarWindow::retry);
    connect(m_details, &PostDetailsPanel::linkRequested, this, &CalendarWindow::openLink);
}

void CalendarWindow::restoreState()
{
    const std::optional<QString> mode = m_state.stringValue(kModeKey);
    m_mode = calendarModeFromRawValue(mode.value_or(QString())).value_or(CalendarMode::month);
    const std::optional<double> date = m_state.doubleValue(kDateKey);
    m_selectedDate = date ? Timestamp::fromReferenceSeconds(*date).toDateTime().toTimeZone(m_index.zone()).date() : today();
    if (!m_selectedDate.isValid())
        m_selectedDate = today();
    showMode();
}

void CalendarWindow::saveState()
{
    m_state.setString(kModeKey, rawValue(m_mode));
    // Noon, so a later change of time zone does not move the day.
    const QDateTime noon(m_selectedDate, QTime(12, 0), m_index.zone());
    m_state.setDouble(kDateKey, Timestamp::fromDateTime(noon).referenceSeconds());
}

void CalendarWindow::open(const QString& view, const QDateTime& date, const QString& status)
{
    if (const std::optional<CalendarMode> mode = calendarModeFromRawValue(view))
        setMode(*mode);
    if (date.isValid())
        setSelectedDate(date.toTimeZone(m_index.zone()).date());
    setStatusFilter(postStatusFromRawValue(status));
    if (date.isValid() && date.time() != QTime(0, 0))
        m_grid->scrollToHour(date.toTimeZone(m_index.zone()).time().hour() - 1);
    show();
    raise();
    activateWindow();
    qCInfo(lcUi).noquote() << QStringLiteral("🗓 Post schedule shown: %1 of %2, %3")
                                  .arg(rawValue(m_mode), m_selectedDate.toString(Qt::ISODate),
                                       m_filter ? rawValue(*m_filter) : QStringLiteral("all posts"));
}

void CalendarWindow::setMode(CalendarMode mode)
{
    m_mode = mode;
    saveState();
    showMode();
}

void CalendarWindow::setSelectedDate(QDate day)
{
    if (!day.isValid())
        return;
    m_selectedDate = day;
    saveState();
    showMode();
}

void CalendarWindow::setStatusFilter(std::optional<PostStatus> status)
{
    m_filter = status;
    m_toolbar->setStatusFilter(status);
    pushViewState();
    refreshList();
    refreshBanner();
}

void CalendarWindow::selectPost(const QUuid& id)
{
    m_selectedPost = id;
    pushViewState();
    refreshDetails();
    if (m_mode == CalendarMode::list) {
        const int row = m_listModel->rowOf(id);
        if (row >= 0)
            m_list->setCurrentIndex(m_listModel->index(row));
    }
}

void CalendarWindow::step(int direction)
{
    switch (m_mode) {
    case CalendarMode::month:
    case CalendarMode::list:
        setSelectedDate(m_selectedDate.addMonths(direction));
        return;
    case CalendarMode::week:
        setSelectedDate(m_selectedDate.addDays(7 * direction));
        return;
    case CalendarMode::day:
        setSelectedDate(m_selectedDate.addDays(direction));
        return;
    }
}

void CalendarWindow::showMode()
{
    m_toolbar->setMode(m_mode);
    m_month->setMonth(m_selectedDate);
    pushViewState();
    switch (m_mode) {
    case CalendarMode::month:
        m_stack->setCurrentWidget(m_month);
        break;
    case CalendarMode::week:
        m_grid->setDays(weekStart(m_selectedDate), 7);
        m_stack->setCurrentWidget(m_grid);
        break;
    case CalendarMode::day:
        m_grid->setDays(m_selectedDate, 1);
        m_stack->setCurrentWidget(m_grid);
        break;
    case CalendarMode::list:
        m_stack->setCurrentWidget(m_list);
        refreshList();
        break;
    }
    refreshTitle();
}

void CalendarWindow::pushViewState()
{
    const CalendarViewState state{m_selectedDate, today(), m_selectedPost, m_filter};
    m_month->setViewState(state);
    m_grid->setViewState(state);
}

void CalendarWindow::refresh()
{
    if (!m_selectedPost.isNull() && !m_index.entry(m_selectedPost))
        m_selectedPost = QUuid();
    pushViewState();
    refreshList();
    refreshBanner();
    refreshDetails();
}

void CalendarWindow::refreshBanner()
{
    const int failed = m_index.failedCount();
    m_banner->setVisible(failed > 0);
    m_bannerText->setText(failed == 1 ? tr("⚠ 1 post failed or was interrupted and did not reach every account.")
                                      : tr("⚠ %1 posts failed or were interrupted and did not reach every account.").arg(failed));
    m_showFailed->setVisible(!(m_filter == PostStatus::failed && m_mode == CalendarMode::list));
}

void CalendarWindow::refreshDetails()
{
    const std::optional<ScheduledPost> post =
        m_selectedPost.isNull() ? std::nullopt : m_services.scheduler.scheduledPost(m_selectedPost);
    m_details->showPost(post, post ? publishedLinks(post->id) : QList<QUrl>{}, m_index.zone());
}

void CalendarWindow::refreshList()
{
    // Only the visible list is kept current; switching to it reads the index again.
    if (m_mode != CalendarMode::list)
        return;
    m_listModel->reload(m_filter);
    const int row = m_selectedPost.isNull() ? -1 : m_listModel->rowOf(m_selectedPost);
    const int shown = row >= 0 ? row : m_listModel->rowForDay(m_selectedDate);
    if (shown >= 0)
        m_list->scrollTo(m_listModel->index(shown), QAbstractItemView::PositionAtTop);
    if (row >= 0)
        m_list->setCurrentIndex(m_listModel->index(row));
}

void CalendarWindow::refreshTitle()
{
    const QLocale locale;
    switch (m_mode) {
    case CalendarMode::month:
        m_toolbar->setTitle(locale.toString(m_selectedDate, QStringLiteral("MMMM yyyy")));
        break;
    case CalendarMode::list:
        // The list holds every date; it opens at the chosen month.
        m_toolbar->setTitle(tr("All dates, from %1").arg(locale.toString(m_selectedDate, QStringLiteral("MMMM yyyy"))));
        break;
    case CalendarMode::week: {
        const QDate first = weekStart(m_selectedDate);
        m_toolbar->setTitle(locale.toString(first, QStringLiteral("d MMM")) + QStringLiteral(" – ")
                         + locale.toString(first.addDays(6), QStringLiteral("d MMM yyyy")));
        break;
    }
    case CalendarMode::day:
        m_toolbar->setTitle(locale.toString(m_selectedDate, QStringLiteral("dddd d MMMM yyyy")));
        break;
    }
}

void CalendarWindow::armMidnight()
{
    const QDateTime now = m_services.clock.now().toDateTime().toTimeZone(m_index.zone());
    const QDateTime next = QDateTime(now.date().addDays(1), QTime(0, 0), m_index.zone());
    m_midnight.start(std::chrono::milliseconds(std::max<qint64>(1000, now.msecsTo(next) + 1000)));
}

QDate CalendarWindow::today() const
{
    return m_services.clock.now().toDateTime().toTimeZone(m_index.zone()).date();
}

QDate CalendarWindow::weekStart(QDate day) const
{
    const int first = locale().firstDayOfWeek();
    return day.addDays(-((day.dayOfWeek() - first + 7) % 7));
}

QList<QUrl> CalendarWindow::publishedLinks(const QUuid& id) const
{
    const std::optional<DeliveryRecord> record = m_deliveries.load(id);
    if (!record)
        return {};
    QList<QUrl> links;
    for (const AccountDelivery& account : record->accounts) {
        if (!account.posts.isEmpty() && !account.posts.first().url.isEmpty())
            links.append(QUrl(account.posts.first().url));
    }
    return links;
}

void CalendarWindow::moveToDay(const QUuid& id, QDate day)
{
    const std::optional<PostDayEntry> entry = m_index.entry(id);
    if (entry)
        moveToTime(id, QDateTime(day, entry->when.time(), m_index.zone()));
}

void CalendarWindow::moveToTime(const QUuid& id, const QDateTime& when)
{
    if (!m_actions.reschedule(id, when))
        return;
    qCInfo(lcUi).noquote() << QStringLiteral("📅 Post %1 dragged to %2").arg(idText(id), when.toString(Qt::ISODate));
    selectPost(id);
}

void CalendarWindow::edit(const QUuid& id)
{
    const std::optional<ScheduledPost> post = m_services.scheduler.scheduledPost(id);
    if (!post || post->status == PostStatus::published || post->status == PostStatus::processing)
        return;
    qCInfo(lcUi).noquote() << QStringLiteral("✏️ Editing scheduled post %1 from the calendar").arg(idText(id));
    Q_EMIT m_services.events.scheduledPostEditRequested(*post);
}

void CalendarWindow::duplicate(const QUuid& id)
{
    if (const std::optional<QUuid> copy = m_actions.duplicate(id))
        selectPost(*copy);
}

void CalendarWindow::confirmDelete(const QUuid& id)
{
    const std::optional<PostDayEntry> entry = m_index.entry(id);
    if (!entry)
        return;
    QMessageBox ask(QMessageBox::Question, tr("Delete Scheduled Post"),
                    tr("Delete the post of %1?").arg(QLocale().toString(entry->when, QStringLiteral("d MMM yyyy, HH:mm"))),
                    QMessageBox::NoButton, this);
    ask.setInformativeText(entry->title.isEmpty() ? tr("This cannot be undone.")
                                                  : QStringLiteral("“%1”\n\n").arg(entry->title) + tr("This cannot be undone."));
    QPushButton* remove = ask.addButton(tr("Delete"), QMessageBox::DestructiveRole);
    ask.addButton(QMessageBox::Cancel);
    ask.setDefaultButton(QMessageBox::Cancel);
    ask.exec();
    if (ask.clickedButton() != remove)
        return;
    if (m_actions.remove(id))
        qCInfo(lcUi).noquote() << QStringLiteral("🗑 Scheduled post %1 deleted from the calendar").arg(idText(id));
}

void CalendarWindow::retry(const QUuid& id)
{
    if (m_actions.retry(id))
        qCInfo(lcUi).noquote() << QStringLiteral("🔁 Retry of post %1 asked from the calendar").arg(idText(id));
}

void CalendarWindow::openLink(const QUrl& url)
{
    if (m_browser.open(url))
        return;
    qCWarning(lcUi).noquote() << QStringLiteral("❌ No browser opened %1").arg(url.toString());
    QMessageBox::warning(this, tr("Cannot Open Link"), tr("No browser could open %1.").arg(url.toDisplayString()));
}
