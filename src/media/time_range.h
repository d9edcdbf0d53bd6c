#pragma once

// A closed stretch of a media file's timeline, in seconds (start <= end).
struct TimeRange {
    double start = 0;
    double end = 0;

    bool operator==(const TimeRange&) const = default;
    double duration() const { return end - start; }
    double centre() const { return (start + end) / 2; }
};
