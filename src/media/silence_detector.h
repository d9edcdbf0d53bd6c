#pragma once

#include "media/time_range.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

// Finds the quiet stretches of a sound track from its level envelope (the peak of each
// equal-length bucket, nominally 0…1: the same array the timeline draws as its
// waveform). Pure and stateless, so the editor may run it on any thread.
namespace SilenceDetector {

struct Config {
    double minSilenceDuration = 0.25; // shortest range kept
    double mergeSilenceGap = 0.1;     // ranges closer than this are merged
    double padding = 0.0;             // each range widened by this, after the shift
    double smoothWindow = 0.1;        // length of the moving-average window
    std::int64_t maxCuts = std::numeric_limits<std::int64_t>::max();
    double boundaryShiftOutward = 0.0; // each range widened by this first
    double edgeSnapWindow = 0.06;      // radius within which an edge moves to the quietest point

    // What the editor uses for media of this length: longer media needs longer silences.
    static Config forDuration(double duration);
};

// The silent ranges, sorted by start and not overlapping. Degenerate input (media of
// 1 ms or less, fewer than 64 buckets, a flat envelope) gives none.
std::vector<TimeRange> detectSilences(double duration, std::span<const float> envelope, const Config& config);

} // namespace SilenceDetector
