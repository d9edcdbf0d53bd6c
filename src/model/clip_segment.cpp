#include "model/clip_segment.h"

Json ClipSegment::toJson() const
{
    Json json = Json::object();
    json["id"] = JsonValues::uuidText(id);
    json["start"] = JsonValues::number(start);
    json["end"] = JsonValues::number(end);
    return json;
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
