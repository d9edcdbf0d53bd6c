#pragma once

#include <string>

// Failures of the MCP server, each with its JSON-RPC code and one message.
class MCPError {
public:
    enum class Kind { InvalidRequest, MethodNotFound, InternalError, Disabled };

    static MCPError invalidRequest(std::string detail) { return {Kind::InvalidRequest, std::move(detail)}; }
    static MCPError methodNotFound(std::string detail) { return {Kind::MethodNotFound, std::move(detail)}; }
    static MCPError internalError(std::string detail) { return {Kind::InternalError, std::move(detail)}; }
    static MCPError disabled() { return {Kind::Disabled, {}}; }

    Kind kind() const { return m_kind; }
    std::string message() const;

private:
    MCPError(Kind kind, std::string detail)
        : m_kind(kind)
        , m_detail(std::move(detail))
    {
    }

    Kind m_kind;
    std::string m_detail;
};
