#include "mcp/mcp_tool_catalogue.h"

#include "mcp/tool_catalogue_json.h"

const std::vector<MCPTool>& MCPToolCatalogue::tools()
{
    static const std::vector<MCPTool> catalogue = [] {
        std::vector<MCPTool> list;
        for (const Json& entry : Json::parse(kToolCatalogueJson))
            list.push_back({entry.at("name"), entry.at("description"), entry.at("inputSchema")});
        return list;
    }();
    return catalogue;
}
