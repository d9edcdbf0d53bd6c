#pragma once

#include "model/subtitle_segment.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// SubRip (.srt) captions: what the video editor imports and exports, and what the worker
// hands to the subtitle renderer.
class SrtFile {
public:
    static QByteArray write(const QList<SubtitleSegment>& segments);
    // Reads numbered cues ("00:00:01,500 --> 00:00:03,000" and their text); a BOM, CRLF
    // line ends and "." before the milliseconds are accepted. A cue whose timing line
    // cannot be read gives nothing and its line number in `error`.
    static std::optional<QList<SubtitleSegment>> parse(const QByteArray& text, QString* error);
};
