#pragma once

#include "mcp/any_codable.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

// A request id: an integer or a text, echoed back in the JSON type it came in.
class JSONRPCIdentifier {
public:
    explicit JSONRPCIdentifier(int64_t value)
        : m_value(value)
    {
    }
    explicit JSONRPCIdentifier(std::string value)
        : m_value(std::move(value))
    {
    }

    // Integer first, then text; nothing for any other JSON type.
    static std::optional<JSONRPCIdentifier> decode(const Json& value);
    Json encode() const;

    bool isInt() const { return std::holds_alternative<int64_t>(m_value); }
    bool operator==(const JSONRPCIdentifier&) const = default;

private:
    std::variant<int64_t, std::string> m_value;
};
