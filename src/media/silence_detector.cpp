#include "media/silence_detector.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace SilenceDetector {

namespace {

constexpr std::size_t kMinimumBuckets = 64;
constexpr int kLevelBins = 64;
constexpr double kDefaultLevel = 0.08;

struct Thresholds {
    double enter; // a run starts at a value at or below this
    double exit;  // and ends at the first value at or above this
};

// Bucket indices, first and last inclusive.
struct Run {
    std::size_t first;
    std::size_t last;
};

// A trailing moving average over w buckets; the window grows from one at the start.
std::vector<float> smoothed(std::span<const float> envelope, double duration, double window)
{
    const std::size_t n = envelope.size();
    const auto w = std::max<std::int64_t>(1, std::int64_t(double(n) * (window / duration)));
    if (w < 2)
        return {envelope.begin(), envelope.end()};
    std::vector<float> out(n);
    double sum = 0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += envelope[i];
        if (std::int64_t(i) >= w)
            sum -= envelope[i - std::size_t(w)];
        out[i] = float(sum / double(std::min<std::int64_t>(w, std::int64_t(i) + 1)));
    }
    return out;
}

// Otsu's threshold on 64 bins: the level that best separates quiet from loud.
double otsuLevel(const std::vector<float>& s)
{
    std::array<double, kLevelBins> counts{};
    for (const float value : s)
        counts[std::size_t(std::round(std::clamp(value, 0.0f, 1.0f) * 63.0f))] += 1;
    const double total = double(s.size());
    if (total == 0)
        return kDefaultLevel;
    double totalMoment = 0;
    for (int i = 0; i < kLevelBins; ++i)
        totalMoment += i * counts[std::size_t(i)];

    double weight = counts[0];
    double moment = 0;
    double bestVariance = -1;
    int best = 1;
    for (int t = 1; t <= kLevelBins - 2; ++t) {
        weight += counts[std::size_t(t)];
        moment += t * counts[std::size_t(t)];
        const double background = weight;
        const double foreground = total - weight;
        if (background <= 0 || foreground <= 0)
            continue;
        const double gap = moment / background - (totalMoment - moment) / foreground;
        const double variance = gap * gap * background * foreground;
        if (variance > bestVariance) {
            bestVariance = variance;
            best = t;
        }
    }
    return std::max(std::min(best / 63.0, 0.35), 0.06);
}

// The value a sorted copy holds at the 20 % index; selecting it needs no full sort.
double lowPercentile(std::vector<float> s)
{
    if (s.empty())
        return 0;
    const auto index = std::clamp<std::int64_t>(std::int64_t(double(s.size() - 1) * 0.2), 0, std::int64_t(s.size()) - 1);
    const auto nth = s.begin() + std::ptrdiff_t(index);
    std::nth_element(s.begin(), nth, s.end());
    return *nth;
}

Thresholds thresholdsFor(double base)
{
    if (base >= 0.35)
        return {0.35, 0.385};
    if (base >= 0.05)
        return {base, std::min(0.98, base + std::max(0.03, base * 0.1))};
    return {0.05, 0.08};
}

// Runs of quiet buckets, with hysteresis so a run does not flicker at the threshold.
std::vector<Run> quietRuns(const std::vector<float>& s, Thresholds thresholds)
{
    std::vector<Run> runs;
    bool inRun = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (!inRun) {
            if (s[i] <= thresholds.enter) {
                inRun = true;
                start = i;
            }
            continue;
        }
        if (s[i] >= thresholds.exit) {
            runs.push_back({start, std::max(start, i - 1)});
            inRun = false;
        }
    }
    if (inRun)
        runs.push_back({start, s.size() - 1});
    return runs;
}

// The quietest bucket within radius of index; ties go to the earliest.
std::size_t quietestNear(const std::vector<float>& s, std::size_t index, std::size_t radius)
{
    const std::size_t from = index > radius ? index - radius : 0;
    const std::size_t to = std::min(s.size() - 1, index + radius);
    return std::size_t(std::min_element(s.begin() + std::ptrdiff_t(from), s.begin() + std::ptrdiff_t(to) + 1) - s.begin());
}

std::vector<TimeRange> toSeconds(const std::vector<Run>& runs, const std::vector<float>& s, double duration,
                                 const Config& config)
{
    const std::size_t n = s.size();
    auto radius = std::int64_t(double(n) * (config.edgeSnapWindow / duration));
    if (radius < 2)
        radius = 1;
    const double lastIndex = double(std::max<std::size_t>(1, n - 1));
    std::vector<TimeRange> ranges;
    for (const Run& run : runs) {
        TimeRange range{double(quietestNear(s, run.first, std::size_t(radius))) / lastIndex * duration,
                        double(quietestNear(s, run.last, std::size_t(radius))) / lastIndex * duration};
        if (config.boundaryShiftOutward != 0) {
            range.start = std::clamp(range.start - config.boundaryShiftOutward, 0.0, duration);
            range.end = std::clamp(range.end + config.boundaryShiftOutward, 0.0, duration);
            if (!(range.start < range.end))
                continue;
        }
        if (config.padding > 0) {
            range.start = std::max(0.0, range.start - config.padding);
            range.end = std::min(duration, range.end + config.padding);
        }
        if (range.duration() >= config.minSilenceDuration)
            ranges.push_back(range);
    }
    return ranges;
}

} // namespace

Config Config::forDuration(double duration)
{
    Config config;
    config.minSilenceDuration = duration < 30 ? 0.25 : duration < 90 ? 0.35 : 0.5;
    return config;
}

std::vector<TimeRange> detectSilences(double duration, std::span<const float> envelope, const Config& config)
{
    if (duration <= 0.001 || envelope.size() < kMinimumBuckets)
        return {};
    const auto [lowest, highest] = std::minmax_element(envelope.begin(), envelope.end());
    if (double(*highest) - double(*lowest) < 0.01)
        return {};

    const std::vector<float> s = smoothed(envelope, duration, config.smoothWindow);
    const double base = (lowPercentile(s) + otsuLevel(s)) / 2;
    const std::vector<Run> runs = quietRuns(s, thresholdsFor(base));
    if (runs.empty())
        return {};

    std::vector<TimeRange> ranges = TimeRange::sortedAndMerged(toSeconds(runs, s, duration, config), config.mergeSilenceGap);
    if (config.maxCuts >= 0 && std::int64_t(ranges.size()) > config.maxCuts)
        ranges.resize(std::size_t(config.maxCuts));
    return ranges;
}

} // namespace SilenceDetector
