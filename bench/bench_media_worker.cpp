// The media worker: reading the level envelope of an hour-long stereo track against real
// time, exporting a minute of 1080p with the hd preset against the ffmpeg command line
// doing the same with the same encoder settings, and the start-up cost of one job.
#include "support/wav_file.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr double kTrackSeconds = 3600; // an hour of 44.1 kHz stereo
constexpr int kClipSeconds = 60;

double runMs(const QString& program, const QStringList& arguments)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(-1);
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (process.exitCode() != 0)
        std::fprintf(stderr, "%s %s failed\n", qUtf8Printable(program), qUtf8Printable(arguments.join(u' ')));
    return ms;
}

double runMs(const QStringList& arguments)
{
    return runMs(QStringLiteral(QUILLO_MEDIA_BINARY), arguments);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void benchExport(const QTemporaryDir& dir)
{
    const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    if (ffmpeg.isEmpty()) {
        std::printf("Export of %d s 1080p: skipped, the ffmpeg command line is not installed\n", kClipSeconds);
        return;
    }
    const QString source = dir.filePath(QStringLiteral("clip.mp4"));
    runMs(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                   QStringLiteral("-i"), QStringLiteral("testsrc2=size=1920x1080:rate=30"), QStringLiteral("-f"),
                   QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=frequency=440:sample_rate=48000"),
                   QStringLiteral("-t"), QString::number(kClipSeconds), QStringLiteral("-c:v"), QStringLiteral("libx264"),
                   QStringLiteral("-preset"), QStringLiteral("veryfast"), QStringLiteral("-c:a"), QStringLiteral("aac"), source});
    // What the hd preset does: 1280x720, H.264 CRF 23 "veryfast", AAC 128 kb/s, index first.
    const QStringList reference{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-i"), source,
                                QStringLiteral("-vf"), QStringLiteral("scale=1280:720:flags=bicubic,setsar=1,format=yuv420p"),
                                QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
                                QStringLiteral("veryfast"), QStringLiteral("-crf"), QStringLiteral("23"), QStringLiteral("-c:a"),
                                QStringLiteral("aac"), QStringLiteral("-b:a"), QStringLiteral("128k"), QStringLiteral("-movflags"),
                                QStringLiteral("+faststart"), dir.filePath(QStringLiteral("reference.mp4"))};
    const QStringList ours{QStringLiteral("export"), source, dir.filePath(QStringLiteral("ours.mp4")), QStringLiteral("--preset"),
                           QStringLiteral("hd")};
    std::vector<double> quillo;
    std::vector<double> cli;
    // Alternated, so both see the same machine.
    for (int i = 0; i < 3; ++i) {
        quillo.push_back(runMs(ours));
        cli.push_back(runMs(ffmpeg, reference));
    }
    std::printf("Export of %d s 1080p30 with the hd preset: quillo-media median %.0f ms, ffmpeg command line %.0f ms, "
                "ratio %.3f (target <= 1.05)\n",
                kClipSeconds, median(quillo), median(cli), median(quillo) / median(cli));
}

} // namespace

int main()
{
    QTemporaryDir dir;
    const QString track = dir.filePath(QStringLiteral("track.wav"));
    const QString tiny = dir.filePath(QStringLiteral("tiny.wav"));
    if (!writeWav(track, kTrackSeconds, {{100, 101}, {300, 302}}) || !writeWav(tiny, 0.1, {}))
        return 1;

    std::vector<double> envelope;
    for (int i = 0; i < 3; ++i)
        envelope.push_back(runMs({QStringLiteral("envelope"), track}));
    const double envelopeMs = median(envelope);
    std::printf("Envelope of %.0f s of 44.1 kHz stereo: median %.0f ms, %.0fx realtime (target >= 300x)\n",
                kTrackSeconds, envelopeMs, kTrackSeconds * 1000 / envelopeMs);

    benchExport(dir);

    std::vector<double> startup;
    for (int i = 0; i < 51; ++i)
        startup.push_back(runMs({QStringLiteral("probe"), tiny}));
    std::printf("Worker start-up (probe of a 0.1 s file, spawn to exit): median %.2f ms over 51 runs\n", median(startup));
    return 0;
}
