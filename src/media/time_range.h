#pragma once

#include <vector>

// A closed stretch of a media file's timeline, in seconds (start <= end).
struct TimeRange {
    double start = 0;
    double end = 0;

    bool operator==(const TimeRange&) const = default;
    double duration() const { return end - start; }
    double centre() const { return (start + end) / 2; }

    // Sorted by start; a range that begins no more than `gap` after the previous one ends
    // is joined to it (gap 0 joins only touching and overlapping ranges).
    static std::vector<TimeRange> sortedAndMerged(std::vector<TimeRange> ranges, double gap = 0);
};
