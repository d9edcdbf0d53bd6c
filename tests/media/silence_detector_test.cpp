// Silence detection on envelopes built like the timeline's: loud speech with quiet gaps.
#include "media/silence_detector.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kBucketsPerSecond = 100;

// An envelope of `seconds` of speech-like level (0.5…0.9) with the given quiet stretches
// (level 0.01). Quiet stretches are given in seconds.
std::vector<float> envelope(double seconds, std::vector<TimeRange> quiet, float loud = 0.7f)
{
    const auto n = std::size_t(std::llround(seconds * kBucketsPerSecond)) + 1;
    std::vector<float> levels(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double t = double(i) / kBucketsPerSecond;
        // A little movement, as speech has.
        levels[i] = loud + 0.2f * float(std::sin(double(i) * 0.7));
        for (const TimeRange& range : quiet) {
            if (t >= range.start && t <= range.end)
                levels[i] = 0.01f;
        }
    }
    return levels;
}

std::vector<TimeRange> detect(double seconds, const std::vector<float>& levels)
{
    return SilenceDetector::detectSilences(seconds, levels, SilenceDetector::Config::forDuration(seconds));
}

void expectNear(const std::vector<TimeRange>& found, const std::vector<TimeRange>& expected, double tolerance)
{
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].start, expected[i].start, tolerance) << "range " << i;
        EXPECT_NEAR(found[i].end, expected[i].end, tolerance) << "range " << i;
    }
}

} // namespace

TEST(SilenceDetector, FindsTheQuietStretchesOfSpeechAtTheEdgesToo)
{
    const double seconds = 20;
    const std::vector<TimeRange> quiet{{0, 1.0}, {5.0, 6.2}, {12.0, 12.6}, {19.0, 20}};
    std::vector<float> levels = envelope(seconds, quiet);
    // The very first and last buckets are the quietest, so the edges snap onto them.
    levels.front() = 0;
    levels.back() = 0;
    const std::vector<TimeRange> found = detect(seconds, levels);
    // Smoothing delays the level by up to its window; edges snap to the quietest point.
    expectNear(found, quiet, 0.12);
    // The first and last bucket map to exactly 0 and the duration.
    EXPECT_EQ(found.front().start, 0.0);
    EXPECT_EQ(found.back().end, seconds);
}

TEST(SilenceDetector, DegenerateInputGivesNothing)
{
    // Ten seconds in 63 or 64 buckets, quiet in the middle third.
    std::vector<float> levels(64, 0.7f);
    std::fill(levels.begin() + 21, levels.begin() + 42, 0.01f);
    EXPECT_TRUE(SilenceDetector::detectSilences(10, std::span(levels).first(63), {}).empty());
    EXPECT_FALSE(SilenceDetector::detectSilences(10, levels, {}).empty()) << "64 buckets are enough";
    EXPECT_TRUE(SilenceDetector::detectSilences(0.001, levels, {}).empty());
    EXPECT_TRUE(SilenceDetector::detectSilences(10, std::vector<float>(1000, 0.4f), {}).empty()) << "flat track";
    EXPECT_TRUE(SilenceDetector::detectSilences(10, {}, {}).empty());
}

TEST(SilenceDetector, LongerMediaNeedsLongerSilences)
{
    // Smoothing and edge snapping make a quiet stretch about 0.11 s shorter. 0.42 s of quiet
    // is kept below 30 s (minimum 0.25), dropped from 30 s on (0.35); 0.55 s is kept below
    // 90 s and dropped from 90 s on (0.5).
    auto countFor = [](double seconds, double quietLength) {
        return detect(seconds, envelope(seconds, {{seconds / 2, seconds / 2 + quietLength}})).size();
    };
    EXPECT_EQ(countFor(29.9, 0.42), 1u);
    EXPECT_EQ(countFor(30, 0.42), 0u);
    EXPECT_EQ(countFor(89.9, 0.55), 1u);
    EXPECT_EQ(countFor(90, 0.55), 0u);
    EXPECT_EQ(SilenceDetector::Config::forDuration(29.999).minSilenceDuration, 0.25);
    EXPECT_EQ(SilenceDetector::Config::forDuration(30).minSilenceDuration, 0.35);
    EXPECT_EQ(SilenceDetector::Config::forDuration(90).minSilenceDuration, 0.5);
}

TEST(SilenceDetector, NearbySilencesMergeAndTheCutLimitKeepsTheEarliest)
{
    const double seconds = 20;
    // A 40 ms click between two quiet stretches is not worth a cut.
    const std::vector<float> clicked = envelope(seconds, {{4, 5}, {5.04, 6}, {10, 11}, {15, 16}});
    const std::vector<TimeRange> found = detect(seconds, clicked);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_NEAR(found[0].start, 4, 0.12);
    EXPECT_NEAR(found[0].end, 6, 0.12);

    SilenceDetector::Config twoCuts = SilenceDetector::Config::forDuration(seconds);
    twoCuts.maxCuts = 2;
    const std::vector<TimeRange> limited = SilenceDetector::detectSilences(seconds, clicked, twoCuts);
    ASSERT_EQ(limited.size(), 2u);
    EXPECT_EQ(limited[1], found[1]);

    // Widening: the shift and the padding both push edges out, never past the media.
    SilenceDetector::Config wide = SilenceDetector::Config::forDuration(seconds);
    wide.boundaryShiftOutward = 0.05;
    wide.padding = 0.1;
    const std::vector<TimeRange> widened = SilenceDetector::detectSilences(seconds, clicked, wide);
    ASSERT_EQ(widened.size(), 3u);
    EXPECT_NEAR(widened[1].start, found[1].start - 0.15, 1e-9);
    EXPECT_NEAR(widened[1].end, found[1].end + 0.15, 1e-9);
}

TEST(SilenceDetector, ALoudTrackUsesTheFixedThresholds)
{
    // Everything is loud; the dips to 0.36 stay above the 0.35 entry level, the dip to 0.2
    // does not.
    const double seconds = 20;
    std::vector<float> levels = envelope(seconds, {}, 0.8f);
    auto dip = [&](double from, double to, float level) {
        for (auto i = std::size_t(from * kBucketsPerSecond); i <= std::size_t(to * kBucketsPerSecond); ++i)
            levels[i] = level;
    };
    dip(3, 4, 0.36f);
    dip(8, 9, 0.36f);
    dip(14, 15, 0.2f);
    const std::vector<TimeRange> found = detect(seconds, levels);
    expectNear(found, {{14, 15}}, 0.12);
}
