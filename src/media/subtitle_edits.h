#pragma once

#include "model/subtitle_segment.h"

#include <QList>
#include <QUuid>

#include <optional>

// Edits of a caption list timed on the source video. Pure: each returns the new list,
// kept sorted by start; times are clamped into [0, duration].
namespace SubtitleEdits {

// Captions shorter than this are neither made nor kept, in seconds.
inline constexpr double kShortestCaption = 0.1;
// A new caption's length when the time after it allows.
inline constexpr double kNewCaptionLength = 2.0;

// A new empty caption from `at`, ending before the next caption; nothing when no room is left.
std::optional<QList<SubtitleSegment>> add(const QList<SubtitleSegment>& segments, double at, double duration,
                                          QUuid* added = nullptr);
// Sets a caption's text and times; nothing for an unknown id or an empty or inverted range.
std::optional<QList<SubtitleSegment>> edit(const QList<SubtitleSegment>& segments, const QUuid& id, double start,
                                           double end, const QString& text, double duration);
// Cuts a caption in two at `at` (its middle when `at` is outside it): both keep the text.
std::optional<QList<SubtitleSegment>> split(const QList<SubtitleSegment>& segments, const QUuid& id, double at);
QList<SubtitleSegment> remove(const QList<SubtitleSegment>& segments, const QUuid& id);
// Moves every caption by `delta` seconds; those pushed wholly outside the video are dropped,
// those pushed partly outside are cut at its edge.
QList<SubtitleSegment> shift(const QList<SubtitleSegment>& segments, double delta, double duration);

} // namespace SubtitleEdits
