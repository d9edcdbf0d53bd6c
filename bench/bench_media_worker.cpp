// The media worker: reading the level envelope of a long stereo track against real
// time, and the start-up cost of one job.
#include "support/wav_file.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr double kTrackSeconds = 600; // ten minutes of 44.1 kHz stereo

double runMs(const QStringList& arguments)
{
    QElapsedTimer timer;
    timer.start();
    QProcess worker;
    worker.start(QStringLiteral(QUILLO_MEDIA_BINARY), arguments);
    worker.waitForFinished(-1);
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (worker.exitCode() != 0)
        std::fprintf(stderr, "quillo-media %s failed\n", qUtf8Printable(arguments.join(u' ')));
    return ms;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
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
    for (int i = 0; i < 5; ++i)
        envelope.push_back(runMs({QStringLiteral("envelope"), track}));
    const double envelopeMs = median(envelope);
    std::printf("Envelope of %.0f s of 44.1 kHz stereo: median %.0f ms, %.0fx realtime (target >= 300x)\n",
                kTrackSeconds, envelopeMs, kTrackSeconds * 1000 / envelopeMs);

    std::vector<double> startup;
    for (int i = 0; i < 51; ++i)
        startup.push_back(runMs({QStringLiteral("probe"), tiny}));
    std::printf("Worker start-up (probe of a 0.1 s file, spawn to exit): median %.2f ms over 51 runs\n", median(startup));
    return 0;
}
