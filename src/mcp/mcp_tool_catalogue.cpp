#include "mcp/mcp_tool_catalogue.h"

const std::vector<MCPTool>& MCPToolCatalogue::tools() const
{
    static const std::vector<MCPTool> none;
    return none;
}

MCPToolResult MCPToolCatalogue::callTool(const std::string& name, const Json&)
{
    return {"Unknown tool: " + name, true};
}

Json MCPToolCatalogue::resourceContent(const std::string&)
{
    return Json::array();
}
