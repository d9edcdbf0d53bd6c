#pragma once

#include "mcp/mcp_tool_provider.h"

// The tools Quillo offers to AI editors.
class MCPToolCatalogue : public MCPToolProvider {
public:
    const std::vector<MCPTool>& tools() const override;
    MCPToolResult callTool(const std::string& name, const Json& arguments) override;
    Json resourceContent(const std::string& uri) override;
};
