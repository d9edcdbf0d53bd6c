#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/subtitle_segment.h"

#include <QList>
#include <QString>

#include <optional>

// The captions of a video.
struct SubtitleTrack {
    QList<SubtitleSegment> segments;
    // The recognition locale's identifier, e.g. "en-US".
    std::optional<QString> languageCode;
    // What produced the track.
    std::optional<QString> generator;
    Timestamp createdAt;

    bool operator==(const SubtitleTrack&) const = default;

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::referenceSeconds) const { return toJsonValue(*this, dates); }
    static SubtitleTrack decode(const JsonReader& reader);
};
