#pragma once

#include "media/time_range.h"
#include "model/subtitle_segment.h"

#include <QList>
#include <QString>

#include <optional>

// The kept ranges of a source video laid end to end: what an export writes. Built from the
// editor's clips, checked against the source's duration.
class Composition {
public:
    // A clip may end this far past the source's end (a rounded duration) and is then cut there.
    static constexpr double kEndTolerance = 0.1;

    // The whole source when `clips` is empty. Empty, out-of-order, overlapping or
    // out-of-range clips give nothing and a sentence naming the clip in `error`.
    static std::optional<Composition> make(double sourceDuration, const QList<TimeRange>& clips, QString* error);

    const QList<TimeRange>& ranges() const { return m_ranges; }
    double duration() const;

    // Captions timed on the source, moved onto the composition's timeline: parts in removed
    // stretches disappear, a caption across a cut is split. Blank captions are left out.
    QList<SubtitleSegment> mapSubtitles(const QList<SubtitleSegment>& sourceTimed) const;

private:
    explicit Composition(QList<TimeRange> ranges)
        : m_ranges(std::move(ranges))
    {
    }

    QList<TimeRange> m_ranges;
};
