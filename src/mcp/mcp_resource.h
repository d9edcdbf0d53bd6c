#pragma once

#include "mcp/any_codable.h"

#include <optional>
#include <string>

struct MCPResource {
    std::string uri;
    std::string name;
    std::string description;
    std::optional<std::string> mimeType;

    Json encode() const
    {
        Json json = {{"uri", uri}, {"name", name}, {"description", description}};
        if (mimeType)
            json["mimeType"] = *mimeType;
        return json;
    }
};
