// scheduled_list over a large schedule: per call in a running server (the stored
// document unchanged between calls, and after it changed), and a cold process
// answering one tools/call.
#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_handlers.h"
#include "model/scheduled_post.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using SteadyClock = std::chrono::steady_clock;

double msSince(SteadyClock::time_point start)
{
    return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

double median(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

QList<ScheduledPost> makeSchedule(int count)
{
    QList<ScheduledPost> posts;
    for (int i = 0; i < count; ++i) {
        ScheduledPost post;
        post.id = QUuid::createUuid();
        for (int p = 0; p < 3; ++p) {
            Post item = Post::create(QStringLiteral("Post %1 of thread %2 about release notes and more words").arg(p).arg(i)
                                     + (i % 100 == 0 ? QStringLiteral(" needle") : QString()));
            for (int m = 0; m < 2; ++m) {
                PostMedia media;
                media.id = QUuid::createUuid();
                media.originalPath = QUrl::fromLocalFile(QStringLiteral("/media/%1-%2-%3.png").arg(i).arg(p).arg(m));
                media.altText = QStringLiteral("A picture");
                item.mediaItems.append(media);
            }
            post.content.append(item);
        }
        post.scheduledDate = Timestamp::fromReferenceSeconds(800000000.0 + i * 60);
        post.timeZoneIdentifier = QStringLiteral("Europe/Berlin");
        post.platforms = {QStringLiteral("x"), QStringLiteral("bluesky")};
        posts.append(post);
    }
    return posts;
}

struct NoSender : MCPCommandSender {
    Outcome send(const QUrl&) override { return {true, {}}; }
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("QUILLO_HOME", QFile::encodeName(home.path()));
    const AppPaths paths = AppPaths::underHome(home.path());
    PreferenceStore preferences(paths);
    preferences.setValue(PreferenceKeys::MCPEnabled, true);
    const QByteArray document = ScheduledPost::encodeList(makeSchedule(10000), JsonLayout::compact);
    preferences.setData(PreferenceKeys::ScheduledPosts, document);
    std::printf("schedule: 10000 posts (three-post threads, two media each), %.1f MB stored\n", document.size() / 1e6);

    NoSender sender;
    const MCPLog log(false);
    MCPStateReader state(preferences);
    const SystemClock clock;
    MCPToolHandlers tools(state, sender, log, clock);
    const Json arguments = {{"textContains", "NEEDLE"}, {"includeContent", true}, {"limit", 500}};

    auto start = SteadyClock::now();
    const MCPToolResult first = tools.callTool("scheduled_list", arguments);
    std::printf("scheduled_list, first call (reads and decodes the document): %.1f ms, %zu bytes of result\n", msSince(start),
                first.text.size());
    std::vector<double> warm;
    for (int i = 0; i < 50; ++i) {
        start = SteadyClock::now();
        tools.callTool("scheduled_list", arguments);
        warm.push_back(msSince(start));
    }
    std::printf("scheduled_list, text filter + full content, document unchanged: median %.2f ms over 50 calls (target < 60 ms)\n",
                median(warm));
    std::vector<double> changed;
    for (int i = 0; i < 5; ++i) {
        preferences.setData(PreferenceKeys::ScheduledPosts, document);
        start = SteadyClock::now();
        tools.callTool("scheduled_list", arguments);
        changed.push_back(msSince(start));
    }
    std::printf("scheduled_list right after the instance rewrote the document: median %.1f ms over 5 calls\n", median(changed));

    const QByteArray request = R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"scheduled_list","arguments":{"textContains":"needle"}}})"
                               "\n";
    std::vector<double> cold;
    for (int i = 0; i < 15; ++i) {
        QProcess server;
        start = SteadyClock::now();
        server.start(QStringLiteral(QUILLO_BINARY), {QStringLiteral("--mcp-stdio")});
        server.write(request);
        while (!server.canReadLine() && server.waitForReadyRead(10000)) {
        }
        cold.push_back(msSince(start));
        server.closeWriteChannel();
        server.waitForFinished();
    }
    std::printf("cold process answering one scheduled_list tools/call: median %.1f ms over 15 runs (target < 150 ms)\n", median(cold));
    return 0;
}
