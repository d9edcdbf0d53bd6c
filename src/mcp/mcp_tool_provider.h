#pragma once

#include "mcp/any_codable.h"
#include "mcp/mcp_tool.h"

#include <string>
#include <vector>

// What a tool handler yields: the text shown to the assistant, and whether it
// reports a failure of the tool's contract (a post not found, a bad argument).
struct MCPToolResult {
    std::string text;
    bool isError = false;
};

// The tools and resource contents behind the JSON-RPC dispatcher.
class MCPToolProvider {
public:
    virtual ~MCPToolProvider() = default;

    // The catalogue in the order tools/list shows it.
    virtual const std::vector<MCPTool>& tools() const = 0;
    // Called only for a name in the catalogue.
    virtual MCPToolResult callTool(const std::string& name, const Json& arguments) = 0;
    // The content of a known resource ("quillo:///accounts", "quillo:///scheduled").
    virtual Json resourceContent(const std::string& uri) = 0;
};
