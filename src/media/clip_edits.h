#pragma once

#include "media/time_range.h"
#include "model/clip_segment.h"

#include <QList>
#include <QSet>

#include <optional>
#include <vector>

// Edits of a timeline's clip list (the kept ranges of a video, in play order). Pure: each
// returns the new list and leaves undo to the caller. New pieces get fresh ids.
namespace ClipEdits {

// Clip pieces shorter than this are not made (splits) or kept (removals), in seconds.
inline constexpr double kShortestPiece = 0.05;

// Splits the clip that contains `time` strictly inside it into two; nothing when no clip does.
std::optional<QList<ClipSegment>> splitAt(const QList<ClipSegment>& clips, double time);

// Cuts every clip at both edges of every silence (each edge moved 5 ms into the silence).
// Cut points within 30 ms of each other count once; a cut within 50 ms of a clip's edge
// is not made.
QList<ClipSegment> splitAtSilences(const QList<ClipSegment>& clips, const std::vector<TimeRange>& silences,
                                   double duration);

// Keeps only the parts of each clip outside the silences (sorted and merged first);
// parts shorter than 50 ms are dropped.
QList<ClipSegment> removeSilences(const QList<ClipSegment>& clips, std::vector<TimeRange> silences);

// The silences the person has not unmarked (by their centre), sorted and merged where
// they overlap.
std::vector<TimeRange> visibleSilences(const std::vector<TimeRange>& silences, const QSet<double>& hiddenCentres);

} // namespace ClipEdits
