#pragma once

#include "mcp/mcp_tool.h"

#include <vector>

// The sixteen tools Quillo offers to AI editors, in the order tools/list shows them.
// Their descriptions are what the assistant reads, so they are part of the contract.
class MCPToolCatalogue {
public:
    static const std::vector<MCPTool>& tools();
};
