// The scheduler: one check pass over 10,000 stored posts of which 10 are due (publishers
// that answer at once, so the figure is Quillo's own work on the main thread), a pass with
// nothing due, and an idle headless instance with 100 stored posts between minute ticks:
// its wake-ups (context switches) and resident memory.
#include "scheduling/scheduler_loop.h"
#include "store/scheduler_service.h"
#include "scheduling/scheduling_stack.h"
#include "support/coro_wait.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/sample_posts.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QThread>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kPosts = 10000;
constexpr int kDue = 10;

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Schedule : SchedulingStack {
    Schedule()
    {
        publishers.add(x.id, QStringLiteral("x"));
        QList<ScheduledPost> posts = samplePosts(kPosts);
        for (int i = 0; i < kDue; ++i) {
            posts[i].platforms = {QStringLiteral("x")};
            posts[i].postingMode = ScheduledPostingMode::defaults;
            posts[i].accountIds.clear();
            for (Post& post : posts[i].content)
                post.mediaItems.clear();
            due.append(posts[i].id);
        }
        store.savePosts(posts);
        store.loadPosts();
        clock.set(posts[kDue - 1].scheduledDate);
    }

    QList<QUuid> due;
};

double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

struct PassTime {
    double wallMs = 0;
    // The main thread's own work; the rest of the wall time it waited, mostly for the
    // file system to take the small delivery records.
    double cpuMs = 0;
};

PassTime timePass(SchedulerLoop& loop)
{
    QElapsedTimer timer;
    const double cpuStart = threadCpuMs();
    timer.start();
    waitForTask(loop.checkScheduledPosts());
    return {double(timer.nsecsElapsed()) / 1e6, threadCpuMs() - cpuStart};
}

void benchPasses()
{
    Schedule schedule;
    std::vector<double> busy;
    std::vector<double> busyCpu;
    for (int round = 0; round < 5; ++round) {
        // Due again and never delivered, so every round publishes all ten.
        for (const QUuid& id : schedule.due) {
            schedule.deliveries.remove(id);
            schedule.store.updateStatus(id, PostStatus::queued, std::nullopt);
        }
        schedule.store.waitForPendingSaves();
        // The document rewritten just now would still be on its way to the disk, and the
        // pass's small record writes would queue behind it; an instance's previous save
        // happened a minute earlier.
        ::sync();
        const PassTime pass = timePass(schedule.loop);
        busy.push_back(pass.wallMs);
        busyCpu.push_back(pass.cpuMs);
    }
    schedule.store.waitForPendingSaves();
    const QString document = schedule.preferences.dataPath(QStringLiteral("scheduledPosts"));
    const QDateTime before = QFileInfo(document).lastModified();
    std::vector<double> quiet;
    for (int round = 0; round < 5; ++round)
        quiet.push_back(timePass(schedule.loop).wallMs);
    schedule.store.waitForPendingSaves();
    const bool rewritten = QFileInfo(document).lastModified() != before;
    std::printf("Check pass, %d stored posts, %d due (publishers answer at once): median %.2f ms, of which main-thread "
                "CPU %.2f ms (target < 5 ms)\n",
                kPosts, kDue, median(busy), median(busyCpu));
    std::printf("Check pass, %d stored posts, none due: median %.2f ms; stored list rewritten: %s\n", kPosts, median(quiet),
                rewritten ? "yes" : "no");
}

struct ProcessFigures {
    long long switches = 0;
    long long rssKib = 0;
};

ProcessFigures figuresOf(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    ProcessFigures figures;
    if (!status.open(QIODevice::ReadOnly))
        return figures;
    for (const QByteArray& line : status.readAll().split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 2)
            continue;
        if (fields[0] == "voluntary_ctxt_switches:" || fields[0] == "nonvoluntary_ctxt_switches:")
            figures.switches += fields[1].toLongLong();
        if (fields[0] == "VmRSS:")
            figures.rssKib = fields[1].toLongLong();
    }
    // Every thread of the process: a wake-up anywhere counts.
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    figures.switches = 0;
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile taskStatus(tasks.filePath(task) + QStringLiteral("/status"));
        if (!taskStatus.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : taskStatus.readAll().split('\n')) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            if (fields.size() >= 2 && (fields[0] == "voluntary_ctxt_switches:" || fields[0] == "nonvoluntary_ctxt_switches:"))
                figures.switches += fields[1].toLongLong();
        }
    }
    return figures;
}

void benchIdleInstance()
{
    TempHome home;
    {
        PreferenceStore preferences(home.paths());
        SchedulerService store(preferences);
        store.savePosts(samplePosts(100));
    }
    QuilloProcess instance(home.path());
    instance.start({QStringLiteral("--headless")});
    if (!RunningInstance::waitForChannel(home.paths())) {
        std::printf("Idle instance: did not start\n");
        return;
    }
    // Measure inside one minute, away from its tick.
    const int intoMinute = QDateTime::currentDateTimeUtc().time().second();
    QThread::sleep(unsigned(intoMinute > 30 ? 62 - intoMinute : 2));
    constexpr int kWindow = 25;
    const ProcessFigures start = figuresOf(instance.process().processId());
    QThread::sleep(kWindow);
    const ProcessFigures end = figuresOf(instance.process().processId());
    std::printf("Idle headless instance, 100 stored posts: %lld wake-ups in %d s between minute ticks (target 0), "
                "resident memory %.1f MiB (target < 40 MiB)\n",
                end.switches - start.switches, kWindow, double(end.rssKib) / 1024);
    instance.process().terminate();
    instance.waitForExit();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3)
        QLoggingCategory::setFilterRules(QStringLiteral("quillo.*=false"));
    benchPasses();
    if (argc < 2)
        benchIdleInstance();
    return 0;
}
