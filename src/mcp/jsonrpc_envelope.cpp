#include "mcp/jsonrpc_envelope.h"

#include "core/json_values.h"

namespace {

using DecodingError = JSONRPCEnvelope::DecodingError;

const char* typeName(const Json& value)
{
    return value.type_name();
}

// A present key whose value is null counts as absent, as for any optional field.
const Json* optionalMember(const Json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    return &*found;
}

std::string expected(const char* key, const char* what, const Json& found)
{
    return std::string("The value of \"") + key + "\" must be " + what + ", found " + typeName(found) + ".";
}

JSONRPCErrorObject decodeError(const Json& value)
{
    if (!value.is_object())
        throw DecodingError(expected("error", "an object", value));
    JSONRPCErrorObject error;
    const Json* code = optionalMember(value, "code");
    const auto id = code ? JSONRPCIdentifier::decode(*code) : std::nullopt;
    if (!id || !id->isInt())
        throw DecodingError("The value of \"error.code\" must be an integer.");
    error.code = id->encode().get<int64_t>();
    const Json* message = optionalMember(value, "message");
    if (!message || !message->is_string())
        throw DecodingError("The value of \"error.message\" must be text.");
    error.message = message->get<std::string>();
    if (const Json* data = optionalMember(value, "data"))
        error.data = AnyCodable::decode(*data);
    return error;
}

// The parser's description quotes the token it stopped at, which can be the whole
// line; the answer carries only its start.
std::string quoted(std::string_view description)
{
    constexpr size_t kMaxDescription = 200;
    if (description.size() <= kMaxDescription)
        return std::string(description);
    size_t cut = kMaxDescription;
    while (cut > 0 && (static_cast<unsigned char>(description[cut]) & 0xC0) == 0x80)
        --cut; // not inside a UTF-8 sequence
    return std::string(description.substr(0, cut)) + "…";
}

} // namespace

JSONRPCEnvelope JSONRPCEnvelope::decode(std::string_view bytes)
{
    // The JSON reader stops at a NUL byte as if the input ended there; raw NUL is never
    // valid JSON, so refuse it rather than act on the part before it.
    if (bytes.find('\0') != std::string_view::npos)
        throw DecodingError("The data is not valid JSON (it contains a NUL byte).");
    if (JsonValues::nestsDeeperThan(bytes))
        throw DecodingError("The data is nested deeper than " + std::to_string(JsonValues::kMaxNesting) + " levels.");
    Json root;
    try {
        root = Json::parse(bytes);
    } catch (const Json::parse_error& error) {
        throw DecodingError("The data is not valid JSON (" + quoted(error.what()) + ").");
    }
    if (!root.is_object())
        throw DecodingError(std::string("Expected a JSON object, found ") + typeName(root) + ".");

    JSONRPCEnvelope envelope;
    const Json* version = optionalMember(root, "jsonrpc");
    if (!version)
        throw DecodingError("The key \"jsonrpc\" is missing.");
    if (!version->is_string())
        throw DecodingError(expected("jsonrpc", "text", *version));
    envelope.jsonrpc = version->get<std::string>();

    if (const Json* id = optionalMember(root, "id")) {
        envelope.id = JSONRPCIdentifier::decode(*id);
        if (!envelope.id)
            throw DecodingError(expected("id", "an integer or text", *id));
    }
    if (const Json* method = optionalMember(root, "method")) {
        if (!method->is_string())
            throw DecodingError(expected("method", "text", *method));
        envelope.method = method->get<std::string>();
    }
    if (const Json* params = optionalMember(root, "params")) {
        if (!params->is_object())
            throw DecodingError(expected("params", "an object", *params));
        envelope.params = AnyCodable::decode(*params).json();
    }
    if (const Json* result = optionalMember(root, "result"))
        envelope.result = AnyCodable::decode(*result);
    if (const Json* error = optionalMember(root, "error"))
        envelope.error = decodeError(*error);
    return envelope;
}

Json JSONRPCEnvelope::encode() const
{
    Json json = Json::object();
    json["jsonrpc"] = jsonrpc;
    if (id)
        json["id"] = id->encode();
    if (method)
        json["method"] = *method;
    if (params)
        json["params"] = *params;
    if (result)
        json["result"] = result->json();
    if (error) {
        Json object = {{"code", error->code}, {"message", error->message}};
        if (error->data)
            object["data"] = error->data->json();
        json["error"] = std::move(object);
    }
    return json;
}
