#pragma once

#include "mcp/any_codable.h"

#include <optional>
#include <string>

struct JSONRPCErrorObject {
    int64_t code = 0;
    std::string message;
    std::optional<AnyCodable> data;
};
