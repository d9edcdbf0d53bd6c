#pragma once

#include "mcp/any_codable.h"

#include <string>

// One entry of the tool catalogue, as listed by tools/list.
struct MCPTool {
    std::string name;
    std::string description;
    Json inputSchema = Json::object();

    Json encode() const { return {{"name", name}, {"description", description}, {"inputSchema", inputSchema}}; }
};
