#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"

// A rectangle hidden on an image before upload: blacked out, or blurred beyond reading.
// The redaction tool works in fractions of the upright image (0…1 across and down), so a
// rectangle stays on the same spot whatever size the image is shown or sent at.
struct RedactionRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    // Stored only when set, so rectangles written before blurring existed read as black.
    bool blurred = false;

    bool operator==(const RedactionRect&) const = default;

    void write(JsonWriter& writer) const;
    Json toJson() const { return toJsonValue(*this); }
    static RedactionRect decode(const JsonReader& reader);
};
