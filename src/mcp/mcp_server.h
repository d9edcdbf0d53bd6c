#pragma once

#include "mcp/any_codable.h"
#include "mcp/jsonrpc_identifier.h"

#include <optional>
#include <string>
#include <string_view>

class MCPToolProvider;
class PreferenceStore;

// The JSON-RPC dispatcher of the MCP server: bytes of one message in, bytes of the
// one reply out (none for notifications). It knows no transport, so tests call it
// directly and the stdio loop only moves bytes.
class MCPServer {
public:
    struct Reply {
        std::string bytes;
        // Set when the reply is an error.
        std::optional<int64_t> errorCode;
    };

    MCPServer(PreferenceStore& preferences, MCPToolProvider& tools);

    std::optional<Reply> handle(std::string_view message);
    // False once "shutdown" was answered.
    bool running() const { return m_running; }

private:
    Json dispatch(const std::string& method, const Json& params);
    Json initialize(const Json& params);
    Json listTools() const;
    Json callTool(const Json& params);
    Json listResources() const;
    Json readResource(const Json& params);
    void requireEnabled();
    bool isEnabled();

    static Reply result(const JSONRPCIdentifier& id, Json result);
    static Reply error(const JSONRPCIdentifier& id, int64_t code, const std::string& message);

    PreferenceStore& m_preferences;
    MCPToolProvider& m_tools;
    bool m_running = true;
};
