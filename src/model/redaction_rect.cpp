#include "model/redaction_rect.h"

void RedactionRect::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("x");
    writer.number(x);
    writer.key("y");
    writer.number(y);
    writer.key("width");
    writer.number(width);
    writer.key("height");
    writer.number(height);
    if (blurred) {
        writer.key("blurred");
        writer.boolean(true);
    }
    writer.endObject();
}

RedactionRect RedactionRect::decode(const JsonReader& reader)
{
    reader.expectObject();
    RedactionRect rect;
    rect.x = reader["x"].number();
    rect.y = reader["y"].number();
    rect.width = reader["width"].number();
    rect.height = reader["height"].number();
    if (const auto blurred = reader.optional("blurred"))
        rect.blurred = blurred->boolean();
    return rect;
}
