#pragma once

#include "mcp/any_codable.h"
#include "mcp/mcp_tool_error.h"

#include <optional>
#include <string>
#include <vector>

// A tool's arguments, checked against the tool's input schema before any handler
// runs: a value of the wrong JSON type is an error that names the argument. Unknown
// keys are ignored, and null counts as absent.
class MCPArguments {
public:
    // An argument whose JSON type does not fit; message() reads "'thread' must be a boolean".
    class TypeError : public MCPToolError {
    public:
        TypeError(std::string key, const std::string& detail)
            : MCPToolError(detail)
            , m_key(std::move(key))
        {
        }
        const std::string& key() const { return m_key; }

    private:
        std::string m_key;
    };

    // Throws TypeError for the first argument whose type does not fit the schema.
    MCPArguments(const Json& arguments, const Json& inputSchema);

    bool has(const char* key) const;
    std::optional<std::string> string(const char* key) const;
    std::optional<bool> boolean(const char* key) const;
    std::optional<int64_t> integer(const char* key) const;
    // An array of texts, or a single text read as a one-element list.
    std::optional<std::vector<std::string>> strings(const char* key) const;
    // The raw value (for object-or-text and array-of-object arguments).
    const Json* raw(const char* key) const;

private:
    Json m_values = Json::object();
};
