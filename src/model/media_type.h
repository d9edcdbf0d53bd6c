#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"

// Image or video. Stored in the case-keyed form: {"image":{}} or {"video":{}}.
enum class MediaType { image, video };

void writeMediaType(JsonWriter& writer, MediaType type);
// Accepts exactly the two case-keyed objects; a plain "video" string is an error.
MediaType decodeMediaType(const JsonReader& reader);
