#pragma once

#include "mcp/any_codable.h"
#include "mcp/jsonrpc_error_object.h"
#include "mcp/jsonrpc_identifier.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// One JSON-RPC 2.0 message. Absent optionals are left out when encoding.
struct JSONRPCEnvelope {
    // Thrown when bytes are not a decodable envelope; what() describes why.
    struct DecodingError : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    std::string jsonrpc = "2.0";
    std::optional<JSONRPCIdentifier> id;
    std::optional<std::string> method;
    std::optional<Json> params; // always an object when present
    std::optional<AnyCodable> result;
    std::optional<JSONRPCErrorObject> error;

    static JSONRPCEnvelope decode(std::string_view bytes);
    Json encode() const;
};
