#include "model/redaction_rect.h"

Json RedactionRect::toJson() const
{
    Json json = Json::object();
    json["x"] = JsonValues::number(x);
    json["y"] = JsonValues::number(y);
    json["width"] = JsonValues::number(width);
    json["height"] = JsonValues::number(height);
    return json;
}

RedactionRect RedactionRect::decode(const JsonReader& reader)
{
    reader.expectObject();
    RedactionRect rect;
    rect.x = reader["x"].number();
    rect.y = reader["y"].number();
    rect.width = reader["width"].number();
    rect.height = reader["height"].number();
    return rect;
}
