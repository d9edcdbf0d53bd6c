#include "media/composition.h"

#include <algorithm>
#include <cmath>

namespace {

QString seconds(double value)
{
    return QString::number(value, 'f', 2);
}

QString describe(qsizetype index, const TimeRange& clip)
{
    return QStringLiteral("Clip %1 (%2–%3 s)").arg(index + 1).arg(seconds(clip.start), seconds(clip.end));
}

} // namespace

std::optional<Composition> Composition::make(double sourceDuration, const QList<TimeRange>& clips, QString* error)
{
    if (!(sourceDuration > 0)) {
        *error = QStringLiteral("The video has no duration");
        return std::nullopt;
    }
    if (clips.isEmpty())
        return Composition({TimeRange{0, sourceDuration}});
    QList<TimeRange> ranges;
    for (qsizetype i = 0; i < clips.size(); ++i) {
        TimeRange clip = clips[i];
        if (!std::isfinite(clip.start) || !std::isfinite(clip.end) || clip.start < 0 || clip.end <= clip.start) {
            *error = describe(i, clip) + QStringLiteral(" is empty or reversed");
            return std::nullopt;
        }
        if (clip.start >= sourceDuration || clip.end > sourceDuration + kEndTolerance) {
            *error = describe(i, clip) + QStringLiteral(" goes past the end of the video (%1 s)").arg(seconds(sourceDuration));
            return std::nullopt;
        }
        if (!ranges.isEmpty() && clip.start < ranges.constLast().end) {
            *error = describe(i, clip) + QStringLiteral(" starts before the previous clip ends; clips must be in order");
            return std::nullopt;
        }
        clip.end = std::min(clip.end, sourceDuration);
        ranges.append(clip);
    }
    return Composition(std::move(ranges));
}

double Composition::duration() const
{
    double total = 0;
    for (const TimeRange& range : m_ranges)
        total += range.duration();
    return total;
}

QList<SubtitleSegment> Composition::mapSubtitles(const QList<SubtitleSegment>& sourceTimed) const
{
    QList<SubtitleSegment> mapped;
    for (const SubtitleSegment& caption : sourceTimed) {
        if (caption.text.trimmed().isEmpty() || caption.end <= caption.start)
            continue;
        double offset = 0;
        for (const TimeRange& range : m_ranges) {
            const double start = std::max(caption.start, range.start);
            const double end = std::min(caption.end, range.end);
            if (end > start) {
                SubtitleSegment piece = caption;
                piece.start = offset + start - range.start;
                piece.end = offset + end - range.start;
                mapped.append(piece);
            }
            offset += range.duration();
        }
    }
    std::stable_sort(mapped.begin(), mapped.end(),
                     [](const SubtitleSegment& a, const SubtitleSegment& b) { return a.start < b.start; });
    return mapped;
}
