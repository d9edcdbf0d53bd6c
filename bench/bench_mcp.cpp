// MCP server figures: cold start (process start to the initialize answer) and peak
// memory, side by side with a Qt-Core-only process that reads one line and answers it;
// throughput (pings through one process); the in-process cost of one ping.
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_handlers.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using SteadyClock = std::chrono::steady_clock;

struct Child {
    pid_t pid = -1;
    int toChild = -1;
    int fromChild = -1;
};

// The program and its arguments, without argv[0].
struct Program {
    const char* path;
    std::vector<std::string> arguments;
};

const Program kMcpServer{QUILLO_BINARY, {"--mcp-stdio"}};
const Program kCoreEcho{CORE_ECHO_BINARY, {}};

Child spawn(const Program& program)
{
    int in[2];
    int out[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0)
        std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, in[1]);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    std::vector<std::string> words{program.path};
    words.insert(words.end(), program.arguments.begin(), program.arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    Child child;
    if (posix_spawn(&child.pid, program.path, &actions, nullptr, argv.data(), environ) != 0)
        std::abort();
    posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    child.toChild = in[1];
    child.fromChild = out[0];
    return child;
}

void writeAll(int fd, const std::string& bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0)
            std::abort();
        done += size_t(n);
    }
}

// Reads until `lines` line feeds have arrived.
void readLines(int fd, size_t lines)
{
    char buffer[65536];
    size_t seen = 0;
    while (seen < lines) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
            std::abort();
        seen += size_t(std::count(buffer, buffer + n, '\n'));
    }
}

// Ends the child and returns its peak resident memory in KiB.
long finish(Child& child)
{
    ::close(child.toChild);
    int status = 0;
    rusage usage{};
    ::wait4(child.pid, &status, 0, &usage);
    ::close(child.fromChild);
    return usage.ru_maxrss;
}

struct ColdStart {
    double medianMs = 0;
    double peakMiB = 0;
};

// Spawn to the first answer line; the memory figure is the median of the runs' peaks.
ColdStart coldStart(const Program& program, int runs)
{
    const std::string initialize = R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2024-11-05"}})"
                                   "\n";
    std::vector<double> millis;
    std::vector<long> peaks;
    for (int i = 0; i < runs; ++i) {
        const auto start = SteadyClock::now();
        Child child = spawn(program);
        writeAll(child.toChild, initialize);
        readLines(child.fromChild, 1);
        millis.push_back(std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count());
        peaks.push_back(finish(child));
    }
    std::sort(millis.begin(), millis.end());
    std::sort(peaks.begin(), peaks.end());
    return {millis[millis.size() / 2], double(peaks[peaks.size() / 2]) / 1024.0};
}

double pingsPerSecond(size_t count)
{
    Child child = spawn(kMcpServer);
    const auto start = SteadyClock::now();
    std::thread writer([&] {
        std::string batch;
        for (size_t i = 0; i < count; ++i) {
            batch += R"({"jsonrpc":"2.0","id":)" + std::to_string(i) + R"(,"method":"ping"})" "\n";
            if (batch.size() > 60000) {
                writeAll(child.toChild, batch);
                batch.clear();
            }
        }
        writeAll(child.toChild, batch);
    });
    readLines(child.fromChild, count);
    const double seconds = std::chrono::duration<double>(SteadyClock::now() - start).count();
    writer.join();
    finish(child);
    return double(count) / seconds;
}

void BM_HandlePing(benchmark::State& state)
{
    QTemporaryDir home;
    PreferenceStore preferences(AppPaths::underHome(home.path()));
    struct NoSender : MCPCommandSender {
        Outcome send(const QUrl&) override { return {}; }
    } sender;
    MCPStateReader stored(preferences);
    const MCPLog log(false);
    const SystemClock clock;
    MCPToolHandlers tools(stored, sender, log, clock);
    MCPServer server(preferences, tools);
    const std::string ping = R"({"jsonrpc":"2.0","id":42,"method":"ping"})";
    for (auto _ : state)
        benchmark::DoNotOptimize(server.handle(ping));
}
BENCHMARK(BM_HandlePing);

} // namespace

int main(int argc, char** argv)
{
    QTemporaryDir home;
    ::setenv("QUILLO_HOME", home.path().toLocal8Bit().constData(), 1);

    constexpr int kRuns = 101;
    // Interleaving is not needed: each figure is a median over many runs.
    const ColdStart core = coldStart(kCoreEcho, kRuns);
    const ColdStart mcp = coldStart(kMcpServer, kRuns);
    std::printf("Qt-Core-only process (spawn to answer): median %.2f ms, peak %.1f MiB over %d runs\n", core.medianMs,
                core.peakMiB, kRuns);
    std::printf("MCP cold start (spawn to initialize answer): median %.2f ms, peak %.1f MiB over %d runs\n",
                mcp.medianMs, mcp.peakMiB, kRuns);
    std::printf("MCP / Qt Core: time x%.2f, memory x%.2f (target under x1.5 for both)\n", mcp.medianMs / core.medianMs,
                mcp.peakMiB / core.peakMiB);
    constexpr size_t kPings = 100000;
    std::printf("MCP throughput: %.0f ping messages/s over %zu requests in one process (target > 100000/s)\n",
                pingsPerSecond(kPings), kPings);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
