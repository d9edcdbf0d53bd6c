#include "mcp/jsonrpc_identifier.h"

std::optional<JSONRPCIdentifier> JSONRPCIdentifier::decode(const Json& value)
{
    if (value.is_number()) {
        const Json number = AnyCodable::decode(value).json();
        if (number.is_number_integer())
            return JSONRPCIdentifier(number.get<int64_t>());
        return std::nullopt;
    }
    if (value.is_string())
        return JSONRPCIdentifier(value.get<std::string>());
    return std::nullopt;
}

Json JSONRPCIdentifier::encode() const
{
    if (const auto* number = std::get_if<int64_t>(&m_value))
        return Json(*number);
    return Json(std::get<std::string>(m_value));
}
