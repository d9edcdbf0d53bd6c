#include "model/clip_segment.h"

void ClipSegment::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.uuid(id);
    writer.key("start");
    writer.number(start);
    writer.key("end");
    writer.number(end);
    writer.endObject();
}

ClipSegment ClipSegment::decode(const JsonReader& reader)
{
    reader.expectObject();
    ClipSegment clip;
    clip.id = reader["id"].uuid();
    clip.start = reader["start"].number();
    clip.end = reader["end"].number();
    return clip;
}
