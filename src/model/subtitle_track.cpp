#include "model/subtitle_track.h"

Json SubtitleTrack::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    Json array = Json::array();
    for (const SubtitleSegment& segment : segments)
        array.push_back(segment.toJson());
    json["segments"] = std::move(array);
    if (languageCode)
        json["languageCode"] = JsonValues::utf8(*languageCode);
    if (generator)
        json["generator"] = JsonValues::utf8(*generator);
    json["createdAt"] = JsonValues::date(createdAt, dates);
    return json;
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
