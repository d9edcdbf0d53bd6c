#include "model/media_type.h"

Json mediaTypeToJson(MediaType type)
{
    Json keyed = Json::object();
    keyed[type == MediaType::image ? "image" : "video"] = Json::object();
    return keyed;
}

MediaType decodeMediaType(const JsonReader& reader)
{
    const Json& value = reader.json();
    const auto shapeError = [&] {
        reader.fail(CodingError::Kind::wrongType, QStringLiteral("{\"image\":{}} or {\"video\":{}}"));
    };
    if (!value.is_object() || value.size() != 1)
        shapeError();
    const auto entry = value.begin();
    if (!entry.value().is_object() || !entry.value().empty())
        shapeError();
    if (entry.key() == "image")
        return MediaType::image;
    if (entry.key() == "video")
        return MediaType::video;
    shapeError();
    return MediaType::image;
}
