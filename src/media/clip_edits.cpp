#include "media/clip_edits.h"

#include <algorithm>
#include <cmath>

namespace ClipEdits {

namespace {

constexpr double kCutInset = 0.005;
constexpr double kSameCut = 0.03;

ClipSegment piece(double start, double end)
{
    return {QUuid::createUuid(), start, end};
}

std::vector<double> cutPoints(const std::vector<TimeRange>& silences, double duration)
{
    std::vector<double> points;
    for (const TimeRange& silence : silences) {
        points.push_back(std::max(0.0, silence.start - kCutInset));
        points.push_back(std::min(duration, silence.end + kCutInset));
    }
    std::sort(points.begin(), points.end());
    std::vector<double> kept;
    for (const double point : points) {
        if (kept.empty() || std::abs(point - kept.back()) > kSameCut)
            kept.push_back(point);
    }
    return kept;
}

} // namespace

std::optional<QList<ClipSegment>> splitAt(const QList<ClipSegment>& clips, double time)
{
    for (qsizetype i = 0; i < clips.size(); ++i) {
        const ClipSegment& clip = clips[i];
        if (time <= clip.start || time >= clip.end)
            continue;
        QList<ClipSegment> split = clips;
        split.replace(i, piece(clip.start, time));
        split.insert(i + 1, piece(time, clip.end));
        return split;
    }
    return std::nullopt;
}

QList<ClipSegment> splitAtSilences(const QList<ClipSegment>& clips, const std::vector<TimeRange>& silences,
                                   double duration)
{
    const std::vector<double> points = cutPoints(silences, duration);
    QList<ClipSegment> result;
    for (const ClipSegment& clip : clips) {
        double start = clip.start;
        bool cut = false;
        for (const double point : points) {
            if (point > start + kShortestPiece && point < clip.end - kShortestPiece) {
                result.append(piece(start, point));
                start = point;
                cut = true;
            }
        }
        result.append(cut ? piece(start, clip.end) : clip);
    }
    return result;
}

QList<ClipSegment> removeSilences(const QList<ClipSegment>& clips, std::vector<TimeRange> silences)
{
    const std::vector<TimeRange> quiet = TimeRange::sortedAndMerged(std::move(silences));
    QList<ClipSegment> result;
    auto keep = [&result](const ClipSegment& clip, double start, double end) {
        if (end - start < kShortestPiece)
            return;
        result.append(start == clip.start && end == clip.end ? clip : piece(start, end));
    };
    for (const ClipSegment& clip : clips) {
        double start = clip.start;
        for (const TimeRange& silence : quiet) {
            if (silence.end <= start || silence.start >= clip.end)
                continue;
            keep(clip, start, std::min(silence.start, clip.end));
            start = std::max(start, silence.end);
        }
        keep(clip, start, clip.end);
    }
    return result;
}

std::vector<TimeRange> visibleSilences(const std::vector<TimeRange>& silences, const QSet<double>& hiddenCentres)
{
    std::vector<TimeRange> visible;
    std::copy_if(silences.begin(), silences.end(), std::back_inserter(visible),
                 [&hiddenCentres](const TimeRange& silence) { return !hiddenCentres.contains(silence.centre()); });
    return TimeRange::sortedAndMerged(std::move(visible));
}

} // namespace ClipEdits
