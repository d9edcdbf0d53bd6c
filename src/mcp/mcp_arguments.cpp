#include "mcp/mcp_arguments.h"

namespace {

bool fitsType(const Json& value, const Json& schema);

bool fitsOneOf(const Json& value, const Json& options)
{
    for (const Json& option : options) {
        if (fitsType(value, option))
            return true;
    }
    return false;
}

bool fitsType(const Json& value, const Json& schema)
{
    if (const auto oneOf = schema.find("oneOf"); oneOf != schema.end())
        return fitsOneOf(value, *oneOf);
    const std::string type = schema.value("type", "");
    if (type == "string")
        return value.is_string();
    if (type == "boolean")
        return value.is_boolean();
    if (type == "integer")
        return value.is_number_integer();
    if (type == "object")
        return value.is_object();
    if (type != "array" || !value.is_array())
        return type.empty();
    const auto items = schema.find("items");
    if (items == schema.end())
        return true;
    for (const Json& element : value) {
        if (!fitsType(element, *items))
            return false;
    }
    return true;
}

std::string articled(const std::string& noun)
{
    return (noun.find_first_of("aeiou") == 0 ? "an " : "a ") + noun;
}

std::string describe(const Json& schema)
{
    if (const auto oneOf = schema.find("oneOf"); oneOf != schema.end()) {
        std::string options;
        for (const Json& option : *oneOf)
            options += (options.empty() ? "" : " or ") + describe(option);
        return options;
    }
    const std::string type = schema.value("type", "");
    if (type == "array") {
        const std::string itemType = schema.contains("items") ? schema["items"].value("type", "") : "";
        return itemType == "object" ? "an array of objects" : "an array of strings";
    }
    if (type == "integer")
        return "an integer";
    if (type == "object")
        return "an object";
    return type.empty() ? "any value" : "a " + type;
}

} // namespace

MCPArguments::MCPArguments(const Json& arguments, const Json& inputSchema)
{
    const Json properties = inputSchema.value("properties", Json::object());
    for (const auto& [key, value] : arguments.items()) {
        if (value.is_null())
            continue;
        const auto schema = properties.find(key);
        if (schema == properties.end())
            continue;
        if (!fitsType(value, *schema))
            throw TypeError(key, "'" + key + "' must be " + describe(*schema) + ", not " + articled(value.type_name()));
        m_values[key] = value;
    }
}

bool MCPArguments::has(const char* key) const
{
    return m_values.contains(key);
}

const Json* MCPArguments::raw(const char* key) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? nullptr : &*found;
}

std::optional<std::string> MCPArguments::string(const char* key) const
{
    const Json* value = raw(key);
    return value && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::optional<bool> MCPArguments::boolean(const char* key) const
{
    const Json* value = raw(key);
    return value && value->is_boolean() ? std::optional(value->get<bool>()) : std::nullopt;
}

std::optional<int64_t> MCPArguments::integer(const char* key) const
{
    const Json* value = raw(key);
    return value && value->is_number_integer() ? std::optional(value->get<int64_t>()) : std::nullopt;
}

std::optional<std::vector<std::string>> MCPArguments::strings(const char* key) const
{
    const Json* value = raw(key);
    if (!value)
        return std::nullopt;
    if (value->is_string())
        return std::vector<std::string>{value->get<std::string>()};
    if (!value->is_array())
        return std::nullopt;
    std::vector<std::string> list;
    for (const Json& element : *value) {
        if (element.is_string())
            list.push_back(element.get<std::string>());
    }
    return list;
}
