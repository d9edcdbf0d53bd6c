// The post schedule driven as a person would, offscreen, through the desktop instance's
// windows: opened by the calendar request, posts dragged, filtered, deleted and retried
// over the real stores, the delivery records and the minute loop with recording publishers.
#include "scheduling/media_validator.h"
#include "scheduling/scheduler_loop.h"
#include "store/post_day_index.h"
#include "support/coro_wait.h"
#include "support/fake_url_opener.h"
#include "compose/composer.h"
#include "ui/calendar_list_model.h"
#include "ui/calendar_window.h"
#include "ui/desktop_windows.h"
#include "ui/month_view.h"
#include "ui/post_details_panel.h"
#include "ui/time_grid_view.h"
#include "ui_stack.h"

#include <QApplication>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

const QTimeZone kZone = QTimeZone::systemTimeZone();

QDateTime local(QDate day, QTime time)
{
    return QDateTime(day, time, kZone);
}

class CalendarWindowTest : public ::testing::Test {
protected:
    CalendarWindowTest()
    {
        x = stack.addAccount(PlatformType::x, QStringLiteral("ada"));
        sky = stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.example.com"));
    }

    QUuid schedule(const QDateTime& when, PostStatus status, const QString& text = QStringLiteral("Launch day"))
    {
        ScheduledPost post;
        post.content = {Post::create(text)};
        post.scheduledDate = Timestamp::fromDateTime(when);
        post.timeZoneIdentifier = QString::fromUtf8(kZone.id());
        post.platforms = {QStringLiteral("x"), QStringLiteral("bluesky")};
        post.postingMode = ScheduledPostingMode::allEnabled;
        post.status = status;
        if (status == PostStatus::failed)
            post.error = QStringLiteral("BlueSky posting error: boom");
        return stack.scheduler.addOrUpdate(post);
    }

    // The calendar as the desktop instance opens it for quillo://calendar.
    CalendarWindow& openCalendar(const QString& view, const QDateTime& date, const QString& status = {})
    {
        if (!windows)
            windows = std::make_unique<DesktopWindows>(stack.services());
        Q_EMIT stack.events.calendarRequested(view, date, status);
        CalendarWindow& window = windows->calendar();
        EXPECT_TRUE(window.isVisible());
        QCoreApplication::processEvents();
        return window;
    }

    static void settle() { QCoreApplication::processEvents(); }

    // Answers the next modal question with the button whose text is `answer`.
    static void answerNextQuestion(const QString& answer)
    {
        QTimer::singleShot(0, [answer] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr) << "a question was asked";
            for (QAbstractButton* button : box->buttons()) {
                if (button->text().remove(QLatin1Char('&')) == answer)
                    button->click();
            }
        });
    }

    UiStack stack;
    std::unique_ptr<DesktopWindows> windows;
    SocialAccount x;
    SocialAccount sky;
    const QDate monday{2025, 1, 13};
};

} // namespace

TEST_F(CalendarWindowTest, OpensWhereAskedAndReopensWhereItWasLeft)
{
    CalendarWindow& first = openCalendar(QStringLiteral("week"), local(QDate(2025, 2, 20), QTime(9, 0)));
    EXPECT_EQ(first.mode(), CalendarMode::week);
    EXPECT_EQ(first.selectedDate(), QDate(2025, 2, 20));
    EXPECT_EQ(first.timeGridView()->dayCount(), 7);
    EXPECT_EQ(stack.preferences.stringValue(QStringLiteral("CalendarWindow.displayMode")), QStringLiteral("week"));
    ASSERT_TRUE(stack.preferences.contains(QStringLiteral("CalendarWindow.selectedDate")));

    // A fresh instance, opened from the tray with nothing asked: the same view and day.
    windows.reset();
    CalendarWindow& again = openCalendar({}, {});
    EXPECT_EQ(again.mode(), CalendarMode::week);
    EXPECT_EQ(again.selectedDate(), QDate(2025, 2, 20));
    EXPECT_EQ(again.timeGridView()->firstDay().daysTo(QDate(2025, 2, 20)) < 7, true);

    // Stepping in day view moves by one day and is remembered as well.
    again.setMode(CalendarMode::day);
    again.setSelectedDate(again.selectedDate().addDays(1));
    windows.reset();
    CalendarWindow& third = openCalendar({}, {});
    EXPECT_EQ(third.mode(), CalendarMode::day);
    EXPECT_EQ(third.selectedDate(), QDate(2025, 2, 21));
}

TEST_F(CalendarWindowTest, DraggingAPostInTheWeekStoresItsNewDayAndTime)
{
    const QUuid queued = schedule(local(monday, QTime(10, 0)), PostStatus::queued);
    const QUuid published = schedule(local(monday.addDays(2), QTime(11, 0)), PostStatus::published);
    CalendarWindow& window = openCalendar(QStringLiteral("week"), local(monday, QTime(9, 0)));
    TimeGridView* grid = window.timeGridView();
    grid->scrollToHour(9);
    settle();

    const QRect block = grid->postRect(queued);
    ASSERT_FALSE(block.isEmpty()) << "the post is drawn in its slot";
    const QPoint grab = block.topLeft() + QPoint(10, 5);
    const QPoint drop = grid->pointAt(monday.addDays(1), QTime(14, 0)) + QPoint(0, 5);
    QTest::mousePress(grid->viewport(), Qt::LeftButton, {}, grab);
    QTest::mouseMove(grid->viewport(), grab + QPoint(0, 20));
    QTest::mouseMove(grid->viewport(), drop);
    QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, drop);

    EXPECT_EQ(stack.scheduler.scheduledPost(queued)->scheduledDate, Timestamp::fromDateTime(local(monday.addDays(1), QTime(14, 0))));
    EXPECT_EQ(window.selectedPost(), queued);
    settle();
    EXPECT_EQ(grid->postRect(queued).left() > block.left(), true) << "drawn in the next day's column";

    // In the month a post dragged to another day keeps its time of day.
    window.setMode(CalendarMode::month);
    settle();
    MonthView* month = window.monthView();
    const QRect chip = month->chipRect(queued);
    ASSERT_FALSE(chip.isEmpty());
    const QPoint friday = month->cellRect(monday.addDays(4)).center();
    QTest::mousePress(month, Qt::LeftButton, {}, chip.center());
    QTest::mouseMove(month, chip.center() + QPoint(20, 0));
    QTest::mouseMove(month, friday);
    QTest::mouseRelease(month, Qt::LeftButton, {}, friday);
    EXPECT_EQ(stack.scheduler.scheduledPost(queued)->scheduledDate, Timestamp::fromDateTime(local(monday.addDays(4), QTime(14, 0))));
    window.setMode(CalendarMode::week);
    settle();

    // A published post stays where it went out.
    const QRect done = grid->postRect(published);
    ASSERT_FALSE(done.isEmpty());
    QTest::mousePress(grid->viewport(), Qt::LeftButton, {}, done.center());
    QTest::mouseMove(grid->viewport(), done.center() + QPoint(0, 120));
    QTest::mouseRelease(grid->viewport(), Qt::LeftButton, {}, done.center() + QPoint(0, 120));
    EXPECT_EQ(stack.scheduler.scheduledPost(published)->scheduledDate,
              Timestamp::fromDateTime(local(monday.addDays(2), QTime(11, 0))));
}

TEST_F(CalendarWindowTest, FailedPostsStandOutAndTheBannerFiltersToThem)
{
    const QUuid queued = schedule(local(monday, QTime(9, 0)), PostStatus::queued);
    const QUuid failed = schedule(local(monday.addDays(1), QTime(9, 0)), PostStatus::failed);
    CalendarWindow& window = openCalendar(QStringLiteral("month"), local(monday, QTime(0, 0)));
    EXPECT_FALSE(window.failedBanner()->isHidden());
    EXPECT_TRUE(window.failedBanner()->findChild<QLabel*>()->text().contains(QStringLiteral("1 post")));

    // The filter hides what does not match.
    window.statusBox()->setCurrentIndex(2);
    Q_EMIT window.statusBox()->activated(2);
    EXPECT_EQ(window.statusFilter(), PostStatus::queued);
    EXPECT_FALSE(window.monthView()->chipRect(queued).isEmpty());
    EXPECT_TRUE(window.monthView()->chipRect(failed).isEmpty());

    // "Show them" lists the failed posts, whatever the month.
    schedule(local(QDate(2024, 11, 2), QTime(18, 0)), PostStatus::failed);
    settle();
    EXPECT_TRUE(window.failedBanner()->findChild<QLabel*>()->text().contains(QStringLiteral("2 post")));
    QTest::mouseClick(window.showFailedButton(), Qt::LeftButton);
    EXPECT_EQ(window.mode(), CalendarMode::list);
    EXPECT_EQ(window.statusFilter(), PostStatus::failed);
    EXPECT_EQ(window.listView()->model()->rowCount(), 2);

    // A request with no status shows every post again.
    openCalendar(QStringLiteral("month"), {});
    EXPECT_EQ(window.statusFilter(), std::nullopt);
    EXPECT_FALSE(window.monthView()->chipRect(failed).isEmpty());
}

TEST_F(CalendarWindowTest, DeleteAsksFirstAndEditHandsThePostToTheComposer)
{
    const QUuid id = schedule(local(monday, QTime(10, 0)), PostStatus::queued, QStringLiteral("Keep me?"));
    CalendarWindow& window = openCalendar(QStringLiteral("month"), local(monday, QTime(0, 0)));
    QRect chip = window.monthView()->chipRect(id);
    ASSERT_FALSE(chip.isEmpty());
    QTest::mouseClick(window.monthView(), Qt::LeftButton, {}, chip.center());
    ASSERT_EQ(window.detailsPanel()->post()->id, id);

    answerNextQuestion(QStringLiteral("Cancel"));
    QTest::mouseClick(window.detailsPanel()->deleteButton(), Qt::LeftButton);
    EXPECT_TRUE(stack.scheduler.scheduledPost(id).has_value()) << "cancelled: nothing deleted";

    // Editing opens the composer with the thread, tied to the stored post.
    QTest::mouseDClick(window.monthView(), Qt::LeftButton, {}, chip.center());
    ASSERT_EQ(windows->composerModel().posts().size(), 1);
    EXPECT_EQ(windows->composerModel().posts().at(0).text, QStringLiteral("Keep me?"));
    EXPECT_EQ(windows->composerModel().posts().at(0).scheduledPostId, id);

    answerNextQuestion(QStringLiteral("Delete"));
    QTest::mouseClick(window.detailsPanel()->deleteButton(), Qt::LeftButton);
    EXPECT_FALSE(stack.scheduler.scheduledPost(id).has_value());
    settle();
    EXPECT_FALSE(window.detailsPanel()->post().has_value());
    EXPECT_TRUE(window.monthView()->chipRect(id).isEmpty());
}

TEST_F(CalendarWindowTest, RetrySendsOnlyWhatIsMissingAndTheLinksOpen)
{
    FakePublisher& toX = stack.publishers.add(x.id, QStringLiteral("x"));
    FakePublisher& toSky = stack.publishers.add(sky.id, QStringLiteral("sky"));
    toSky.failAt = 0;
    AcceptingProber prober;
    MediaValidator validator(prober);
    SchedulerLoop loop(stack.scheduler, stack.accounts, stack.publishing, validator, stack.publishers, stack.deliveries,
                       stack.clock);
    const QUuid id = schedule(stack.clock.now().toDateTime().addSecs(-60), PostStatus::queued);
    waitForTask(loop.checkScheduledPosts());
    ASSERT_EQ(stack.scheduler.scheduledPost(id)->status, PostStatus::failed);

    FakeUrlOpener browser;
    CalendarWindow window(stack.services(), browser);
    window.open(QStringLiteral("day"), stack.clock.now().toDateTime(), {});
    window.selectPost(id);
    PostDetailsPanel* details = window.detailsPanel();
    EXPECT_TRUE(details->retryButton()->isVisible());
    EXPECT_TRUE(details->errorLabel()->text().contains(QStringLiteral("boom")));

    toSky.failAt = -1;
    QTest::mouseClick(details->retryButton(), Qt::LeftButton);
    EXPECT_EQ(stack.scheduler.scheduledPost(id)->status, PostStatus::queued);
    waitForTask(loop.checkScheduledPosts());
    EXPECT_EQ(stack.scheduler.scheduledPost(id)->status, PostStatus::published);
    EXPECT_EQ(toX.jobs.size(), 1) << "X had the post already";
    EXPECT_EQ(toSky.jobs.size(), 2);
    settle();
    EXPECT_TRUE(window.failedBanner()->isHidden());

    // Both published addresses, from the delivery record, open in the browser.
    QToolButton* links = details->linksButton();
    ASSERT_TRUE(links->isVisible());
    ASSERT_NE(links->menu(), nullptr);
    for (QAction* action : links->menu()->actions()) {
        if (action->text() == QStringLiteral("Open all"))
            action->trigger();
    }
    QStringList opened;
    for (const QUrl& url : browser.opened)
        opened.append(url.toString());
    opened.sort();
    EXPECT_EQ(opened, (QStringList{QStringLiteral("https://example.net/sky-0"), QStringLiteral("https://example.net/x-0")}));
}

TEST_F(CalendarWindowTest, ABusyDayShowsWhatFitsAndLeadsToTheRestAndCloseTimesSitSideBySide)
{
    QList<QUuid> ids;
    for (int i = 0; i < 12; ++i)
        ids.append(schedule(local(monday, QTime(9, 0).addSecs(600 * i)), PostStatus::queued, QStringLiteral("Post %1").arg(i)));
    CalendarWindow& window = openCalendar(QStringLiteral("month"), local(monday, QTime(0, 0)));
    MonthView* month = window.monthView();
    EXPECT_FALSE(month->chipRect(ids.first()).isEmpty());
    EXPECT_TRUE(month->chipRect(ids.last()).isEmpty()) << "twelve posts do not fit in one cell";
    const QRect cell = month->cellRect(monday);
    EXPECT_TRUE(cell.contains(month->chipRect(ids.first())));

    // A click on "+N more", the line under the last chip that fits, opens that day.
    QRect lastShown;
    for (const QUuid& id : ids) {
        if (!month->chipRect(id).isEmpty())
            lastShown = month->chipRect(id);
    }
    QTest::mouseClick(month, Qt::LeftButton, {}, lastShown.center() + QPoint(0, lastShown.height() + 2));
    EXPECT_EQ(window.mode(), CalendarMode::day);
    EXPECT_EQ(window.selectedDate(), monday);

    // Ten minutes apart, the blocks would cover each other: they share the width instead.
    settle();
    TimeGridView* grid = window.timeGridView();
    const QRect first = grid->postRect(ids.at(0));
    const QRect second = grid->postRect(ids.at(1));
    ASSERT_FALSE(first.isEmpty());
    ASSERT_FALSE(second.isEmpty());
    EXPECT_FALSE(first.intersects(second));

    // Duplicating makes a draft copy and selects it.
    window.selectPost(ids.at(0));
    QTest::mouseClick(window.detailsPanel()->duplicateButton(), Qt::LeftButton);
    ASSERT_NE(window.selectedPost(), ids.at(0));
    const std::optional<ScheduledPost> copy = stack.scheduler.scheduledPost(window.selectedPost());
    ASSERT_TRUE(copy.has_value());
    EXPECT_EQ(copy->status, PostStatus::draft);
    EXPECT_EQ(copy->content.at(0).text, QStringLiteral("Post 0"));
}

