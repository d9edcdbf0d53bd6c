// Peak memory of a 300 MB video upload to X against a loopback fake X.
//
// The fake server runs in a child process so its buffers do not count. The figure is
// the growth of this process's peak resident set during the upload over the resident
// set just before it: the upload streams the file from disk, so the growth should stay
// within a few chunks, never near the file's size.
#include "platforms/x/x_service.h"

#include "core/system_clock.h"
#include "support/coro_wait.h"
#include "support/fake_x_server.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr qint64 kFileSize = 300LL * 1000 * 1000;

qint64 statusKiB(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ":";
    while (std::getline(status, line))
        if (line.rfind(prefix, 0) == 0)
            return std::stoll(line.substr(prefix.size()));
    return -1;
}

void resetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// Runs the fake X until the parent closes the pipe; returns the child's pid.
pid_t startServer(int& port)
{
    int toParent[2];
    int fromParent[2];
    if (pipe(toParent) != 0 || pipe(fromParent) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        close(toParent[0]);
        close(fromParent[1]);
        {
            FakeXServer server;
            server.setProcessingPolls(1);
            server.setCheckAfterSecs(0);
            const int serverPort = server.baseUrl().port();
            if (write(toParent[1], &serverPort, sizeof serverPort) != sizeof serverPort)
                _exit(1);
            char ignored;
            while (read(fromParent[0], &ignored, 1) > 0) { }
        }
        _exit(0);
    }
    close(toParent[1]);
    close(fromParent[0]);
    if (read(toParent[0], &port, sizeof port) != sizeof port)
        return -1;
    // The write end stays open in this process until it exits.
    return pid;
}

QString makeVideo(const QTemporaryDir& dir)
{
    const QString path = dir.filePath(QStringLiteral("video.mp4"));
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray block(1 << 20, 'v');
    for (qint64 written = 0; written < kFileSize; written += block.size())
        file.write(block.constData(), std::min<qint64>(block.size(), kFileSize - written));
    return path;
}

} // namespace

int main(int argc, char** argv)
{
    int port = 0;
    const pid_t server = startServer(port);
    if (server <= 0) {
        std::fprintf(stderr, "could not start the fake X server\n");
        return 1;
    }
    QCoreApplication app(argc, argv);
    qputenv("QT_LOGGING_RULES", "quillo.*=false");

    QTemporaryDir dir;
    const QString video = makeVideo(dir);
    const QString warmUp = dir.filePath(QStringLiteral("small.mp4"));
    {
        QFile small(warmUp);
        small.open(QIODevice::WriteOnly);
        small.write(QByteArray(300000, 's'));
    }

    QNetworkAccessManager network;
    OAuthCredential credential{QString::fromLatin1(FakeXServer::kConsumerKey),
                               QString::fromLatin1(FakeXServer::kConsumerSecret),
                               QString::fromLatin1(FakeXServer::kAccessToken),
                               QString::fromLatin1(FakeXServer::kAccessSecret)};
    XServiceOptions options;
    options.checkAfterUnit = std::chrono::milliseconds(1);
    const SystemClock clock;
    XService service(network, credential, clock, {QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port)), QUrl()}, options);

    int status = 0;
    try {
        waitForTask(service.uploadFile(warmUp, true)); // connections and allocator warmed up
        const qint64 baseline = statusKiB("VmRSS");
        resetPeak();
        QElapsedTimer timer;
        timer.start();
        const QString id = waitForTask(service.uploadFile(video, true));
        const double seconds = timer.elapsed() / 1000.0;
        const qint64 peak = statusKiB("VmHWM");
        const double chunkMiB = double(options.initialChunkSize) / (1 << 20);
        const double growthMiB = (peak - baseline) / 1024.0;
        std::printf("x upload: %.0f MB video, chunk %.0f MiB, media id %s\n", kFileSize / 1e6, chunkMiB,
                    qPrintable(id));
        std::printf("  baseline RSS      %8.1f MiB\n", baseline / 1024.0);
        std::printf("  peak RSS          %8.1f MiB\n", peak / 1024.0);
        std::printf("  growth            %8.1f MiB (%.1f chunks)\n", growthMiB, growthMiB / chunkMiB);
        std::printf("  time              %8.2f s (%.0f MB/s)\n", seconds, kFileSize / 1e6 / seconds);
    } catch (const XError& error) {
        std::fprintf(stderr, "upload failed: %s\n", error.what());
        status = 1;
    }
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
    return status;
}
