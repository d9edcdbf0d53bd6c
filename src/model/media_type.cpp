#include "model/media_type.h"

void writeMediaType(JsonWriter& writer, MediaType type)
{
    writer.beginObject();
    writer.key(type == MediaType::image ? "image" : "video");
    writer.beginObject();
    writer.endObject();
    writer.endObject();
}

MediaType decodeMediaType(const JsonReader& reader)
{
    const auto shapeError = [&] {
        reader.fail(CodingError::Kind::wrongType, QStringLiteral("{\"image\":{}} or {\"video\":{}}"));
    };
    if (!reader.isObject() || reader.memberCount() != 1)
        shapeError();
    std::optional<MediaType> type;
    reader.forEachMember([&](std::string_view key, const JsonReader& value) {
        if (!value.isObject() || value.memberCount() != 0)
            return;
        if (key == "image")
            type = MediaType::image;
        else if (key == "video")
            type = MediaType::video;
    });
    if (!type)
        shapeError();
    return *type;
}
