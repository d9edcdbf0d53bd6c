#pragma once

// Method names, error codes and fixed texts of the MCP server, in one place.
namespace MCPProtocol {

inline constexpr const char* kProtocolVersion = "2024-11-05";
inline constexpr const char* kServerName = "Quillo MCP";
inline constexpr const char* kServerTitle = "Quillo for Mac";
inline constexpr const char* kDisabledInstructions = "MCP is disabled in Quillo settings. Enable it to allow tools/resources.";

namespace Method {
inline constexpr const char* Initialize = "initialize";
inline constexpr const char* ToolsList = "tools/list";
inline constexpr const char* ToolsCall = "tools/call";
inline constexpr const char* ResourcesList = "resources/list";
inline constexpr const char* ResourcesRead = "resources/read";
inline constexpr const char* Ping = "ping";
inline constexpr const char* Shutdown = "shutdown";
} // namespace Method

namespace ErrorCode {
inline constexpr int ParseError = -32700;
inline constexpr int MethodNotFound = -32601;
inline constexpr int InvalidParams = -32602;
inline constexpr int InternalError = -32603;
inline constexpr int Disabled = 1000;
// In JSON-RPC's range for server-defined errors: the request was fine, the stored data is not.
inline constexpr int UnreadableStore = -32000;
} // namespace ErrorCode

namespace ResourceURI {
inline constexpr const char* Accounts = "quillo:///accounts";
inline constexpr const char* Scheduled = "quillo:///scheduled";
} // namespace ResourceURI

} // namespace MCPProtocol
