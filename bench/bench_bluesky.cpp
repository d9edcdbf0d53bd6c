// The Bluesky client's own costs: the rich-text pass on a full-length post (no network),
// and publishing a 25-post thread to a loopback XRPC server, reported as the time per
// post beyond what the server's handlers spent. With QUILLO_ENDPOINTS naming a bluesky
// server (the reference PDS of `make test-live`), the thread is also sent there.
#include "core/endpoints.h"
#include "core/system_clock.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "platforms/bluesky/blue_sky_rich_text.h"
#include "platforms/bluesky/blue_sky_service.h"
#include "support/coro_wait.h"
#include "support/fake_xrpc_server.h"
#include "text/bluesky_character_counter.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>

namespace {

class NoEncoding : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest) override
    {
        throw MediaError::workerFailed(QStringLiteral("the bench sends small images only"));
        co_return {};
    }
};

// 300 user-perceived characters as sent, with ten links, ten mentions and ten tags among
// emoji and accented words.
QString fullPost()
{
    QString text;
    for (int i = 0; i < 10; ++i)
        text += QStringLiteral("é🚀 @bob.test #t%1 https://s%1.io/p ").arg(i);
    while (BlueskyCharacterCounter::count(QString(text + u'x')).length <= 300)
        text += u'x';
    return text;
}

void BM_RichTextFullPost(benchmark::State& state)
{
    const QString text = fullPost();
    const auto sample = BlueSkyRichText::process(text);
    for (auto _ : state) {
        auto result = BlueSkyRichText::process(text);
        benchmark::DoNotOptimize(result);
    }
    state.counters["graphemes"] = double(BlueskyCharacterCounter::count(text).length);
    state.counters["facets"] = double(sample.facets.size() + sample.mentions.size());
}
BENCHMARK(BM_RichTextFullPost)->Unit(benchmark::kMicrosecond);

QList<Post> thread(const QString& imagePath)
{
    QList<Post> posts;
    for (int i = 0; i < 25; ++i) {
        PostMedia image;
        image.id = QUuid::createUuid();
        image.originalPath = QUrl::fromLocalFile(imagePath);
        image.altText = QStringLiteral("picture %1").arg(i);
        // Every fifth post carries an image and a link (the image keeps the card away:
        // no page is fetched, the bench measures the client and the XRPC server only).
        if (i % 5 == 0)
            posts.append(Post::create(QStringLiteral("Part %1 of the story 🧵 with @bob.test #bench, see quillo.example/p/%1")
                                          .arg(i + 1),
                                      {image}));
        else
            posts.append(Post::create(QStringLiteral("Part %1 of the story 🧵 with @bob.test #bench").arg(i + 1)));
    }
    return posts;
}

QString writeImage(const QTemporaryDir& dir)
{
    QImage image(400, 300, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    const QString path = dir.filePath(QStringLiteral("bench.png"));
    image.save(path, "PNG");
    return path;
}

void BM_Thread25Loopback(benchmark::State& state)
{
    QTemporaryDir dir;
    const QList<Post> posts = thread(writeImage(dir));
    FakeXrpcServer server;
    QNetworkAccessManager network;
    SystemClock clock;
    NoEncoding encoder;
    BlueSkyService service(network, QString::fromLatin1(FakeXrpcServer::kHandle),
                           QString::fromLatin1(FakeXrpcServer::kAppPassword), clock, encoder,
                           {server.baseUrl(), QUrl(QStringLiteral("https://bsky.app"))});
    waitForTask(service.authenticate());
    const qint64 serverBefore = server.handlerNanoseconds();
    qint64 wallNs = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        auto result = waitForTask(service.postThread(posts), std::chrono::minutes(5));
        wallNs += std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
        benchmark::DoNotOptimize(result);
    }
    const double postsSent = double(state.iterations()) * 25;
    const double serverNs = double(server.handlerNanoseconds() - serverBefore);
    state.counters["ms_per_post"] = double(wallNs) / postsSent / 1e6;
    state.counters["server_ms_per_post"] = serverNs / postsSent / 1e6;
    state.counters["client_ms_per_post"] = (double(wallNs) - serverNs) / postsSent / 1e6;
}
BENCHMARK(BM_Thread25Loopback)->Unit(benchmark::kMillisecond)->Iterations(4);

void BM_Thread25ReferencePds(benchmark::State& state)
{
    const auto base = Endpoints::fromEnvironment(QProcessEnvironment::systemEnvironment()).baseFor(QStringLiteral("bluesky"));
    if (!base) {
        state.SkipWithError("QUILLO_ENDPOINTS names no bluesky server");
        return;
    }
    QTemporaryDir dir;
    const QList<Post> posts = thread(writeImage(dir));
    QNetworkAccessManager network;
    SystemClock clock;
    NoEncoding encoder;
    BlueSkyService service(network, QStringLiteral("alice.test"), QStringLiteral("aaaa-bbbb-cccc-dddd"), clock, encoder,
                           {*base, QUrl(QStringLiteral("https://bsky.app"))});
    try {
        waitForTask(service.authenticate());
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    qint64 wallNs = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        auto result = waitForTask(service.postThread(posts), std::chrono::minutes(5));
        wallNs += std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
        benchmark::DoNotOptimize(result);
    }
    state.counters["ms_per_post"] = double(wallNs) / (double(state.iterations()) * 25) / 1e6;
}
BENCHMARK(BM_Thread25ReferencePds)->Unit(benchmark::kMillisecond)->Iterations(2)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("quillo.bluesky.debug=false\nquillo.bluesky.info=false"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
