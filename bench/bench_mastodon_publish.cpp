// A three-post Mastodon thread whose second post carries a 40 MB video (the largest the
// client sends), published to a loopback fake instance.
//
// The fake runs in a child process so its buffers do not count. Mastodon takes a media
// file in one multipart request, so the upload holds the file and the request body in
// memory at once: the figure to watch is the peak growth against about twice the file.
#include "media/image_encoder.h"
#include "platforms/mastodon/mastodon_service.h"
#include "support/coro_wait.h"
#include "support/fake_mastodon_server.h"

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

constexpr qint64 kVideoSize = 40000000;

class PassThroughImages : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest request) override
    {
        QFile file(request.input);
        file.open(QIODevice::ReadOnly);
        co_return file.readAll();
    }
};

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

// Runs the fake instance until the parent closes the pipe; returns the child's pid.
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
            FakeMastodonServer server;
            server.setProcessingPolls(3);
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
    return pid;
}

PostMedia mediaFile(const QTemporaryDir& dir, const QString& name, MediaType type, qint64 size)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray block(1 << 20, 'v');
    for (qint64 written = 0; written < size; written += block.size())
        file.write(block.constData(), std::min<qint64>(block.size(), size - written));
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = type;
    media.originalPath = QUrl::fromLocalFile(path);
    media.altText = QStringLiteral("a description");
    return media;
}

} // namespace

int main(int argc, char** argv)
{
    int port = 0;
    const pid_t server = startServer(port);
    if (server <= 0) {
        std::fprintf(stderr, "could not start the fake Mastodon instance\n");
        return 1;
    }
    QCoreApplication app(argc, argv);
    qputenv("QT_LOGGING_RULES", "quillo.*=false");

    QTemporaryDir dir;
    const PostMedia image = mediaFile(dir, QStringLiteral("photo.png"), MediaType::image, 2000000);
    const PostMedia video = mediaFile(dir, QStringLiteral("clip.mp4"), MediaType::video, kVideoSize);
    const QList<Post> thread{Post::create(QStringLiteral("One"), {image}), Post::create(QStringLiteral("Two"), {video}),
                             Post::create(QStringLiteral("Three"))};

    QNetworkAccessManager network;
    PassThroughImages images;
    MastodonServiceOptions options;
    options.baseUrl = QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
    options.processingPollInterval = std::chrono::milliseconds(1);
    MastodonService service(network,
                            {QUuid::createUuid(), QStringLiteral("fake.example"),
                             QString::fromLatin1(FakeMastodonServer::kClientId),
                             QString::fromLatin1(FakeMastodonServer::kClientSecret),
                             QString::fromLatin1(FakeMastodonServer::kAccessToken)},
                            images, options);

    int status = 0;
    try {
        waitForTask(service.postThread({{Post::create(QStringLiteral("warm-up"))}}));
        const qint64 baseline = statusKiB("VmRSS");
        resetPeak();
        QElapsedTimer timer;
        timer.start();
        const QList<MastodonPostResult> posted = waitForTask(service.postThread({thread, QUuid::createUuid()}));
        const double seconds = timer.elapsed() / 1000.0;
        const qint64 peak = statusKiB("VmHWM");
        const double growthMiB = (peak - baseline) / 1024.0;
        const double fileMiB = kVideoSize / double(1 << 20);
        std::printf("mastodon thread: 3 posts, a 2 MB image and a %.0f MB video, %lld statuses\n", kVideoSize / 1e6,
                    static_cast<long long>(posted.size()));
        std::printf("  baseline RSS      %8.1f MiB\n", baseline / 1024.0);
        std::printf("  peak RSS          %8.1f MiB\n", peak / 1024.0);
        std::printf("  growth            %8.1f MiB (%.2f x the video)\n", growthMiB, growthMiB / fileMiB);
        std::printf("  time              %8.2f s\n", seconds);
    } catch (const MastodonError& error) {
        std::fprintf(stderr, "publication failed: %s\n", error.what());
        status = 1;
    }
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
    return status;
}
