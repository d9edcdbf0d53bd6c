#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"

#include <QUuid>

// A part of a video to keep, as times in seconds on the source's timeline (start < end).
struct ClipSegment {
    QUuid id;
    double start = 0;
    double end = 0;

    bool operator==(const ClipSegment&) const = default;
    double duration() const { return end - start; }

    void write(JsonWriter& writer) const;
    Json toJson() const { return toJsonValue(*this); }
    static ClipSegment decode(const JsonReader& reader);
};
