// Scheduled-post store figures for a large schedule: 10,000 three-post threads with
// two media per post. Load = read + decode; save = encode + write; the main-thread
// part of a background save; peak memory of the whole run. The process holds one
// list at a time, as the app does.
#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/scheduler_service.h"
#include "support/sample_posts.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
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
    QList<ScheduledPost> posts;
    for (auto _ : state) {
        // Dropping the previous result is not part of a load.
        state.PauseTiming();
        posts = {};
        state.ResumeTiming();
        f.store.readData(PreferenceKeys::ScheduledPosts, [&](const QByteArray& document) {
            bytes = document.size();
            posts = ScheduledPost::decodeList(document);
        });
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
        benchmark::DoNotOptimize(f.store.writeData(PreferenceKeys::ScheduledPosts, [&](QIODevice& device) {
            return ScheduledPost::writeList(f.service.scheduledPosts(), device, JsonLayout::compact);
        }));
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

// The app's own cycle with one list in memory: load, change, background save,
// synchronous save. It runs in a fresh process (this program started again with
// --app-cycle) so that nothing the benchmarks above left on the heap is counted.
int runAppCycle(const QString& home)
{
    PreferenceStore store{AppPaths::underHome(home)};
    SchedulerService service{store};
    std::printf("peak memory at start: %.1f MB\n", peakMegabytes());
    service.loadPosts();
    std::printf("peak memory after loading %lld posts: %.1f MB\n",
                static_cast<long long>(service.scheduledPosts().size()), peakMegabytes());
    service.updateStatus(service.scheduledPosts().first().id, PostStatus::processing);
    service.waitForPendingSaves();
    std::printf("peak memory after a background save: %.1f MB\n", peakMegabytes());
    service.savePosts(service.scheduledPosts());
    std::printf("peak memory after a synchronous save: %.1f MB\n", peakMegabytes());
    return 0;
}

void reportAppPeak(const char* program)
{
    Fixture& f = fixture();
    f.store.setData(PreferenceKeys::ScheduledPosts,
                    ScheduledPost::encodeList(f.service.scheduledPosts(), JsonLayout::compact));
    QProcess cycle;
    cycle.setProcessChannelMode(QProcess::ForwardedChannels);
    cycle.start(QString::fromLocal8Bit(program), {QStringLiteral("--app-cycle"), f.home.path()});
    cycle.waitForFinished(-1);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--app-cycle") == 0) {
        QLoggingCategory::setFilterRules(QStringLiteral("quillo.store.info=false\nquillo.store.debug=false"));
        return runAppCycle(QString::fromLocal8Bit(argv[2]));
    }
    // 10,000 entries would otherwise log a block of lines each.
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.store.info=false\nquillo.store.debug=false"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    reportAppPeak(argv[0]);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak memory of the whole run, two lists at once in the load benchmarks (max RSS): %.1f MB\n",
                static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}
