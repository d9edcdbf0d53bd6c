// Scheduled-post store figures for a large schedule: 10,000 three-post threads with
// two media per post. Load = read + decode; save = encode + write; the main-thread
// part of a background save; peak memory of the whole run. The process holds one
// list at a time, as the app does.
#include "app/app_paths.h"
#include "app/preferences/preference_keys.h"
#include "app/preferences/preference_store.h"
#include "store/sample_posts.h"
#include "store/scheduler_service.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

#include <sys/resource.h>

namespace {

constexpr int kPosts = 10000;

struct Fixture {
    Fixture()
    {
        // Generated once, stored, and dropped: from here on the list lives only in
        // the service, loaded from the store.
        service.savePosts(samplePosts(kPosts));
        service.loadPosts();
    }

    QTemporaryDir home;
    PreferenceStore store{AppPaths::underHome(home.path())};
    SchedulerService service{store};
};

Fixture& fixture()
{
    static Fixture f;
    return f;
}

void loadBench(benchmark::State& state, JsonLayout layout)
{
    Fixture& f = fixture();
    f.store.setData(PreferenceKeys::ScheduledPosts, ScheduledPost::encodeList(f.service.scheduledPosts(), layout));
    qint64 bytes = 0;
    for (auto _ : state) {
        const QByteArray document = *f.store.data(PreferenceKeys::ScheduledPosts);
        bytes = document.size();
        const QList<ScheduledPost> posts = ScheduledPost::decodeList(document);
        benchmark::DoNotOptimize(posts.size());
    }
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

void BM_LoadCompact(benchmark::State& state)
{
    loadBench(state, JsonLayout::compact);
}

void BM_LoadPretty(benchmark::State& state)
{
    loadBench(state, JsonLayout::pretty);
}

// The service's own load: clears its list, reads, decodes, replaces.
void BM_LoadPostsService(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        f.service.loadPosts();
        benchmark::DoNotOptimize(f.service.scheduledPosts().size());
    }
}

// The synchronous save: pretty-printed encode + atomic write.
void BM_SavePretty(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state)
        benchmark::DoNotOptimize(f.service.savePosts(f.service.scheduledPosts()));
}

// What the background task does: compact encode + atomic write.
void BM_SaveCompact(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        const QByteArray document = ScheduledPost::encodeList(f.service.scheduledPosts(), JsonLayout::compact);
        benchmark::DoNotOptimize(f.store.setData(PreferenceKeys::ScheduledPosts, document));
    }
}

// Only the caller's part of a background save: snapshot and hand-off.
void BM_AsyncSaveMainThread(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        f.service.savePostsAsync();
        state.PauseTiming();
        f.service.waitForPendingSaves();
        state.ResumeTiming();
    }
}

BENCHMARK(BM_LoadCompact)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadPretty)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadPostsService)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SavePretty)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SaveCompact)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AsyncSaveMainThread)->Unit(benchmark::kMicrosecond)->Iterations(20);

// Peak resident memory (VmHWM) in MB; resetting it lets one phase be measured alone.
double peakMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

void resetPeak()
{
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly))
        refs.write("5");
}

// The app's own cycle with one list in memory: load, change, background save,
// synchronous save.
void reportAppPeak()
{
    Fixture& f = fixture();
    f.store.setData(PreferenceKeys::ScheduledPosts,
                    ScheduledPost::encodeList(f.service.scheduledPosts(), JsonLayout::compact));
    resetPeak();
    f.service.loadPosts();
    f.service.updateStatus(f.service.scheduledPosts().first().id, PostStatus::processing);
    f.service.waitForPendingSaves();
    f.service.savePosts(f.service.scheduledPosts());
    std::printf("peak memory, load + background save + synchronous save of %d posts: %.1f MB\n", kPosts,
                peakMegabytes());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // 10,000 entries would otherwise log a block of lines each.
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.store.info=false\nquillo.store.debug=false"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    reportAppPeak();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak memory of the whole run, two lists at once in the load benchmarks (max RSS): %.1f MB\n",
                static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}
