#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"

// A rectangle blacked out on an image before upload, in the redaction tool's coordinates.
struct RedactionRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const RedactionRect&) const = default;

    void write(JsonWriter& writer) const;
    Json toJson() const { return toJsonValue(*this); }
    static RedactionRect decode(const JsonReader& reader);
};
