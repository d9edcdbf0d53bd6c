// The post schedule with 10,000 stored posts spread over a year (about 27 a day, three-post
// threads with media): opening the window on the month view and painting it, switching to
// the next month, repainting, the week view, and following one change in the month and in
// the list of every post. Offscreen; each figure includes the paint.
#include "core/url_opener.h"
#include "store/post_day_index.h"
#include "support/sample_posts.h"
#include "ui/calendar_window.h"
#include "ui/month_view.h"
#include "ui/time_grid_view.h"
#include "ui/ui_stack.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QPixmap>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kPosts = 10000;
const QDate kMonth(2025, 6, 1);

class NoBrowser : public UrlOpener {
public:
    bool open(const QUrl&) override { return true; }
};

// Statuses as a real schedule has them: mostly queued ahead, published behind, a few failed.
PostStatus statusFor(int i)
{
    if (i % 97 == 0)
        return PostStatus::failed;
    if (i % 13 == 0)
        return PostStatus::draft;
    return i < kPosts / 2 ? PostStatus::published : PostStatus::queued;
}

struct Fixture {
    Fixture()
    {
        QList<ScheduledPost> posts = samplePosts(kPosts);
        const Timestamp start = *Timestamp::fromIso8601(QStringLiteral("2025-01-01T00:00:00Z"));
        const double spacing = 365.0 * 86400 / kPosts;
        for (int i = 0; i < kPosts; ++i) {
            posts[i].scheduledDate = start.addSeconds(i * spacing);
            posts[i].status = statusFor(i);
        }
        stack.scheduler.savePosts(posts);
        stack.scheduler.loadPosts();
    }

    UiStack stack;
    NoBrowser browser;
};

// Made in main(), after the application object and gone before it: the store's background
// saves need a live application to finish.
Fixture* gFixture = nullptr;

Fixture& fixture()
{
    return *gFixture;
}

std::unique_ptr<CalendarWindow> openMonth()
{
    Fixture& f = fixture();
    auto window = std::make_unique<CalendarWindow>(f.stack.services(), f.browser);
    window->resize(1120, 740);
    window->open(QStringLiteral("month"), kMonth.startOfDay(), {});
    return window;
}

// One stored change, as a drag makes it, followed by the window until it is painted.
void moveOneMinuteAndPaint(const QUuid& id, QWidget& painted)
{
    SchedulerService& scheduler = fixture().stack.scheduler;
    std::optional<ScheduledPost> post = scheduler.scheduledPost(id);
    post->scheduledDate = post->scheduledDate.addSeconds(60);
    scheduler.addOrUpdate(*post, id);
    QApplication::processEvents();
    benchmark::DoNotOptimize(painted.grab());
}

void BM_IndexTenThousandPosts(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        PostDayIndex index(f.stack.scheduler);
        benchmark::DoNotOptimize(index.size());
    }
}
BENCHMARK(BM_IndexTenThousandPosts)->Unit(benchmark::kMillisecond);

void BM_OpenMonthView(benchmark::State& state)
{
    for (auto _ : state) {
        std::unique_ptr<CalendarWindow> window = openMonth();
        QApplication::processEvents();
        benchmark::DoNotOptimize(window->grab());
        state.PauseTiming();
        window.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_OpenMonthView)->Unit(benchmark::kMillisecond);

void BM_NextMonth(benchmark::State& state)
{
    std::unique_ptr<CalendarWindow> window = openMonth();
    QApplication::processEvents();
    int step = 0;
    for (auto _ : state) {
        window->setSelectedDate(kMonth.addMonths(++step % 6));
        benchmark::DoNotOptimize(window->monthView()->grab());
    }
}
BENCHMARK(BM_NextMonth)->Unit(benchmark::kMillisecond);

void BM_RepaintMonth(benchmark::State& state)
{
    std::unique_ptr<CalendarWindow> window = openMonth();
    QApplication::processEvents();
    for (auto _ : state)
        benchmark::DoNotOptimize(window->monthView()->grab());
}
BENCHMARK(BM_RepaintMonth)->Unit(benchmark::kMillisecond);

void BM_NextWeek(benchmark::State& state)
{
    std::unique_ptr<CalendarWindow> window = openMonth();
    window->setMode(CalendarMode::week);
    QApplication::processEvents();
    int step = 0;
    for (auto _ : state) {
        window->setSelectedDate(kMonth.addDays(7 * (++step % 8)));
        benchmark::DoNotOptimize(window->timeGridView()->grab());
    }
}
BENCHMARK(BM_NextWeek)->Unit(benchmark::kMillisecond);

void BM_OneChangeWhileOpen(benchmark::State& state)
{
    // The window follows one stored change (a post moved) and repaints.
    Fixture& f = fixture();
    std::unique_ptr<CalendarWindow> window = openMonth();
    QApplication::processEvents();
    const QUuid id = f.stack.scheduler.scheduledPosts().at(kPosts - 1).id;
    for (auto _ : state)
        moveOneMinuteAndPaint(id, *window->monthView());
}
BENCHMARK(BM_OneChangeWhileOpen)->Unit(benchmark::kMillisecond);

void BM_OneChangeInTheList(benchmark::State& state)
{
    // The list holds every post; it is read again from the index after each change.
    Fixture& f = fixture();
    std::unique_ptr<CalendarWindow> window = openMonth();
    window->setMode(CalendarMode::list);
    QApplication::processEvents();
    const QUuid id = f.stack.scheduler.scheduledPosts().at(kPosts - 2).id;
    for (auto _ : state)
        moveOneMinuteAndPaint(id, *window);
}
BENCHMARK(BM_OneChangeInTheList)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.*=false"));
    benchmark::Initialize(&argc, argv);
    {
        Fixture fixture;
        gFixture = &fixture;
        benchmark::RunSpecifiedBenchmarks();
        fixture.stack.scheduler.waitForPendingSaves();
        gFixture = nullptr;
    }
    benchmark::Shutdown();
    return 0;
}
