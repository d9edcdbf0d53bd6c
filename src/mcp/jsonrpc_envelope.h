#pragma once

#include "core/quillo_error.h"
#include "mcp/any_codable.h"
#include "mcp/jsonrpc_error_object.h"
#include "mcp/jsonrpc_identifier.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

// One JSON-RPC 2.0 message. Absent optionals are left out when encoding.
struct JSONRPCEnvelope {
    // Thrown when bytes are not a decodable envelope; message() describes why.
    struct DecodingError : QuilloError {
        explicit DecodingError(const std::string& message)
            : QuilloError(QString::fromStdString(message))
        {
        }
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
