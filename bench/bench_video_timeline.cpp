// The video editor's timeline over a 1-hour file cut into 1,000 clips: one repaint after
// the playhead moved (the cached picture is reused), after an edit (everything is drawn
// again), zoomed in, and building the waveform's peak levels when a file opens.
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "media/video_editor_session.h"
#include "media/waveform_peaks.h"
#include "ui/timeline_view.h"

#include <QApplication>
#include <QImage>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

namespace {

constexpr double kSeconds = 3600;
constexpr int kBucketsPerSecond = 100;
constexpr int kClips = 1000;

class NoExporter : public VideoExporter {
public:
    QCoro::Task<QString> exportVideo(VideoExportRequest, Progress) override { co_return QString(); }
    void cancel() override {}
};

LevelEnvelopeData speechEnvelope()
{
    LevelEnvelopeData envelope;
    envelope.duration = kSeconds;
    envelope.levels.resize(size_t(kSeconds * kBucketsPerSecond));
    for (size_t i = 0; i < envelope.levels.size(); ++i) {
        const bool pause = (i / 100) % 7 == 3;
        envelope.levels[i] = pause ? 0.01f : 0.5f + 0.4f * float(std::sin(double(i) * 0.37));
    }
    return envelope;
}

// Clips of 3.4 s with 0.2 s gaps between them, over the whole hour.
QList<ClipSegment> manyClips()
{
    QList<ClipSegment> clips;
    const double step = kSeconds / kClips;
    for (int i = 0; i < kClips; ++i)
        clips.append(ClipSegment{QUuid::createUuid(), i * step, (i + 1) * step - 0.2});
    return clips;
}

struct Fixture {
    Fixture()
        : paths(AppPaths::underHome(home.path()))
        , preferences(paths)
        , session(PostMedia{}, preferences, exporter, home.path())
        , view(session)
        , target(1280, 140, QImage::Format_ARGB32_Premultiplied)
    {
        session.load(speechEnvelope());
        session.timeline().restore(manyClips(), {});
        view.resize(target.size());
        view.reload();
        view.render(&target);
    }

    QTemporaryDir home;
    AppPaths paths;
    PreferenceStore preferences;
    NoExporter exporter;
    VideoEditorSession session;
    TimelineView view;
    QImage target;
};

void BM_TimelineRepaintPlayheadMoved(benchmark::State& state)
{
    Fixture fixture;
    double playhead = 0;
    for (auto _ : state) {
        playhead = std::fmod(playhead + 0.04, kSeconds);
        fixture.session.timeline().setPlayhead(playhead);
        fixture.view.render(&fixture.target);
    }
}
BENCHMARK(BM_TimelineRepaintPlayheadMoved)->Unit(benchmark::kMillisecond);

void BM_TimelineRepaintAfterEdit(benchmark::State& state)
{
    Fixture fixture;
    for (auto _ : state) {
        // What an edit signals: the cached picture is stale (without the edit's history save).
        Q_EMIT fixture.session.timeline().silencesChanged();
        fixture.view.render(&fixture.target);
    }
}
BENCHMARK(BM_TimelineRepaintAfterEdit)->Unit(benchmark::kMillisecond);

void BM_TimelineRepaintZoomedAfterEdit(benchmark::State& state)
{
    Fixture fixture;
    fixture.session.setZoom(double(state.range(0)));
    fixture.view.setScrollPosition(kSeconds / 2);
    for (auto _ : state) {
        Q_EMIT fixture.session.timeline().silencesChanged();
        fixture.view.render(&fixture.target);
    }
}
BENCHMARK(BM_TimelineRepaintZoomedAfterEdit)->Arg(16)->Arg(256)->Unit(benchmark::kMillisecond);

void BM_WaveformPeaksOfAnHour(benchmark::State& state)
{
    const LevelEnvelopeData envelope = speechEnvelope();
    for (auto _ : state) {
        WaveformPeaks peaks(envelope.levels, kSeconds);
        benchmark::DoNotOptimize(peaks.peak(0, kSeconds));
    }
}
BENCHMARK(BM_WaveformPeaksOfAnHour)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
