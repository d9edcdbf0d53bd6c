#include "model/subtitle_track.h"

void SubtitleTrack::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("segments");
    writer.beginArray();
    for (const SubtitleSegment& segment : segments)
        segment.write(writer);
    writer.endArray();
    if (languageCode) {
        writer.key("languageCode");
        writer.string(*languageCode);
    }
    if (generator) {
        writer.key("generator");
        writer.string(*generator);
    }
    writer.key("createdAt");
    writer.date(createdAt);
    writer.endObject();
}

SubtitleTrack SubtitleTrack::decode(const JsonReader& reader)
{
    reader.expectObject();
    SubtitleTrack track;
    track.segments = reader["segments"].list(&SubtitleSegment::decode);
    if (const auto code = reader.optional("languageCode"))
        track.languageCode = code->string();
    if (const auto generator = reader.optional("generator"))
        track.generator = generator->string();
    track.createdAt = reader["createdAt"].date();
    return track;
}
