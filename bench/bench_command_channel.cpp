// Command channel figures: 1,000 stealth `schedule` commands sent one after another to
// a headless instance that already holds 1,000 posts. Each round trip is a fresh
// connection, the command carried out, and the reply; the store saves in the
// background. A second series follows every command with a sync request, as the
// forwarder and the MCP server do, so the time includes the save reaching the disk.
#include "channel/command_channel_client.h"
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "model/scheduled_post.h"
#include "store/scheduler_service.h"
#include "support/running_instance.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr int kStoredPosts = 1000;
constexpr int kCommands = 1000;
constexpr int kSyncedCommands = 300;

void storePosts(const AppPaths& paths)
{
    PreferenceStore preferences(paths);
    SchedulerService scheduler(preferences);
    QList<ScheduledPost> posts;
    for (int i = 0; i < kStoredPosts; ++i) {
        ScheduledPost post;
        post.id = QUuid::createUuid();
        post.content = {Post::create(QStringLiteral("Stored post number %1 with an ordinary length of text, "
                                                    "a link https://example.org/%1 and a #tag")
                                         .arg(i))};
        post.scheduledDate = SystemClock().now().addSeconds(3600.0 * (i + 1));
        post.timeZoneIdentifier = QStringLiteral("Europe/Berlin");
        post.platforms = {QStringLiteral("x"), QStringLiteral("bluesky")};
        posts.append(post);
    }
    scheduler.savePosts(posts);
}

double percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(fraction * double(values.size())))];
}

void report(const std::vector<double>& millis)
{
    std::printf("  median %.3f ms   p90 %.3f ms   p99 %.3f ms   max %.3f ms\n", percentile(millis, 0.5),
                percentile(millis, 0.9), percentile(millis, 0.99), percentile(millis, 1.0));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir home;
    const AppPaths paths = AppPaths::underHome(home.path());
    storePosts(paths);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLO_HOME"), home.path());
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    QProcess instance;
    instance.setProcessEnvironment(environment);
    instance.setStandardErrorFile(QProcess::nullDevice());
    instance.start(QStringLiteral(QUILLO_BINARY), {QStringLiteral("--headless")});
    if (!instance.waitForStarted() || !RunningInstance::waitForChannel(paths, 20000)) {
        std::fprintf(stderr, "the instance did not start\n");
        return 1;
    }

    CommandChannelClient::Options options;
    options.autoStart = false;
    options.desktopOpener.clear();
    CommandChannelClient client(paths, options);
    int failures = 0;
    const auto series = [&](int count, bool sync) {
        std::vector<double> millis;
        millis.reserve(count);
        for (int i = 0; i < count; ++i) {
            const QString url = QStringLiteral("quillo://schedule?text=Bench%20post%20") + QString::number(i)
                + QStringLiteral("&status=draft&platforms=x,bluesky&stealthMode=true");
            const auto start = SteadyClock::now();
            const CommandOutcome outcome = client.send(url, std::chrono::seconds(10));
            const bool stored = !sync || client.sync(std::chrono::seconds(10)).ok;
            millis.push_back(std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count());
            failures += outcome.ok && stored ? 0 : 1;
        }
        return millis;
    };
    const std::vector<double> commands = series(kCommands, false);
    const std::vector<double> synced = series(kSyncedCommands, true);
    instance.terminate();
    instance.waitForFinished();

    const auto stored = PreferenceStore(paths).data(QStringLiteral("scheduledPosts"));
    const qsizetype count = stored ? ScheduledPost::decodeList(*stored).size() : 0;
    std::printf("stealth schedule round trip, %d commands onto %d stored posts\n", kCommands, kStoredPosts);
    report(commands);
    std::printf("the same followed by a sync (stored on disk), %d more commands\n", kSyncedCommands);
    report(synced);
    std::printf("%d failed, %lld stored at the end\n", failures, static_cast<long long>(count));
    return failures == 0 && count == kStoredPosts + kCommands + kSyncedCommands ? 0 : 1;
}
