// Silence detection on an envelope of 100,000 buckets (about 17 minutes of audio at the
// timeline's resolution): speech-like levels with a pause every few seconds.
#include "media/silence_detector.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

constexpr std::size_t kBuckets = 100000;
constexpr double kSeconds = 1000;

std::vector<float> speechEnvelope()
{
    std::vector<float> levels(kBuckets);
    for (std::size_t i = 0; i < kBuckets; ++i) {
        const bool pause = (i / 100) % 7 == 3; // a second of quiet in every seven
        levels[i] = pause ? 0.01f + 0.005f * float(std::sin(double(i))) : 0.6f + 0.3f * float(std::sin(double(i) * 0.37));
    }
    return levels;
}

void BM_DetectSilences(benchmark::State& state)
{
    const std::vector<float> levels = speechEnvelope();
    const SilenceDetector::Config config = SilenceDetector::Config::forDuration(kSeconds);
    std::size_t found = 0;
    for (auto _ : state) {
        const auto ranges = SilenceDetector::detectSilences(kSeconds, levels, config);
        found = ranges.size();
        benchmark::DoNotOptimize(ranges.data());
    }
    state.counters["silences"] = double(found);
}
BENCHMARK(BM_DetectSilences)->Unit(benchmark::kMillisecond);

} // namespace

// Target: under 5 ms per detection.
BENCHMARK_MAIN();
