#include "model/community_context.h"

namespace {

CommunityPlatform decodeCommunityPlatform(const JsonReader& reader)
{
    const Json& value = reader.json();
    if (value.is_string() && value.get_ref<const std::string&>() == "x")
        return CommunityPlatform::x;
    // The case-keyed form of an enumeration without raw values is read as well.
    if (value.is_object() && value.size() == 1 && value.contains("x") && value["x"].is_object())
        return CommunityPlatform::x;
    reader.fail(CodingError::Kind::invalidValue, QStringLiteral("a community platform (\"x\")"));
}

} // namespace

Json CommunityContext::toJson() const
{
    Json json = Json::object();
    json["id"] = JsonValues::utf8(id);
    json["name"] = JsonValues::utf8(name);
    json["platform"] = "x";
    return json;
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
