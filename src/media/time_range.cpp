#include "media/time_range.h"

#include <algorithm>

std::vector<TimeRange> TimeRange::sortedAndMerged(std::vector<TimeRange> ranges, double gap)
{
    std::stable_sort(ranges.begin(), ranges.end(), [](const TimeRange& a, const TimeRange& b) { return a.start < b.start; });
    std::vector<TimeRange> merged;
    for (const TimeRange& range : ranges) {
        if (merged.empty() || range.start - merged.back().end > gap)
            merged.push_back(range);
        else
            merged.back().end = std::max(merged.back().end, range.end);
    }
    return merged;
}
