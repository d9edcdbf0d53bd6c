#pragma once

#include "core/quillo_error.h"

#include <cstdint>
#include <string>

// Failures of the MCP server, each with the JSON-RPC code its answer carries and one
// message.
class MCPError : public QuilloError {
public:
    enum class Kind { invalidRequest, methodNotFound, internalError, disabled, unreadableStore };

    // Invalid params unless the request could not even be parsed.
    static MCPError invalidRequest(const std::string& detail, int64_t code = kInvalidParamsCode);
    static MCPError methodNotFound(const std::string& detail);
    static MCPError internalError(const std::string& detail);
    static MCPError disabled();
    // A stored document the request needs cannot be read; the message says so plainly,
    // as the tools' answers do.
    static MCPError unreadableStore(const std::string& message);

    Kind kind() const { return m_kind; }
    int64_t code() const { return m_code; }

private:
    static constexpr int64_t kInvalidParamsCode = -32602;

    MCPError(Kind kind, int64_t code, const QString& message);

    Kind m_kind;
    int64_t m_code;
};
