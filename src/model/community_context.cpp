#include "model/community_context.h"

namespace {

CommunityPlatform decodeCommunityPlatform(const JsonReader& reader)
{
    if (reader.isString() && reader.utf8() == "x")
        return CommunityPlatform::x;
    // The case-keyed form of an enumeration without raw values is read as well.
    if (reader.isObject() && reader.memberCount() == 1) {
        if (const auto x = reader.optional("x"); x && x->isObject())
            return CommunityPlatform::x;
    }
    reader.fail(CodingError::Kind::invalidValue, QStringLiteral("a community platform (\"x\")"));
}

} // namespace

void CommunityContext::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.string(id);
    writer.key("name");
    writer.string(name);
    writer.key("platform");
    writer.string(std::string_view("x"));
    writer.endObject();
}

CommunityContext CommunityContext::decode(const JsonReader& reader)
{
    reader.expectObject();
    CommunityContext community;
    community.id = reader["id"].string();
    community.name = reader["name"].string();
    community.platform = decodeCommunityPlatform(reader["platform"]);
    return community;
}
