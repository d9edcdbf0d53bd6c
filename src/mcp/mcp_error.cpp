#include "mcp/mcp_error.h"

#include "mcp/mcp_protocol.h"

static_assert(MCPProtocol::ErrorCode::InvalidParams == -32602);

namespace {

QString text(const char* prefix, const std::string& detail)
{
    return QString::fromUtf8(prefix) + QString::fromStdString(detail);
}

} // namespace

MCPError::MCPError(Kind kind, int64_t code, const QString& message)
    : QuilloError(message)
    , m_kind(kind)
    , m_code(code)
{
}

MCPError MCPError::invalidRequest(const std::string& detail, int64_t code)
{
    return {Kind::invalidRequest, code, text("Invalid request: ", detail)};
}

MCPError MCPError::methodNotFound(const std::string& detail)
{
    return {Kind::methodNotFound, MCPProtocol::ErrorCode::MethodNotFound, text("Method not found: ", detail)};
}

MCPError MCPError::internalError(const std::string& detail)
{
    return {Kind::internalError, MCPProtocol::ErrorCode::InternalError, text("Internal error: ", detail)};
}

MCPError MCPError::unreadableStore(const std::string& message)
{
    return {Kind::unreadableStore, MCPProtocol::ErrorCode::UnreadableStore, QString::fromStdString(message)};
}

MCPError MCPError::disabled()
{
    return {Kind::disabled, MCPProtocol::ErrorCode::Disabled, QStringLiteral("MCP server is disabled in Quillo settings")};
}
