#include "mcp/mcp_error.h"

std::string MCPError::message() const
{
    switch (m_kind) {
    case Kind::InvalidRequest: return "Invalid request: " + m_detail;
    case Kind::MethodNotFound: return "Method not found: " + m_detail;
    case Kind::InternalError: return "Internal error: " + m_detail;
    case Kind::Disabled: return "MCP server is disabled in Quillo settings";
    }
    return {};
}
