#include "mcp/mcp_server.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/jsonrpc_envelope.h"
#include "mcp/mcp_error.h"
#include "mcp/mcp_protocol.h"
#include "mcp/mcp_resource.h"
#include "mcp/mcp_tool_error.h"
#include "mcp/mcp_tool_provider.h"

#include <algorithm>
#include <array>

namespace {

using namespace MCPProtocol;

std::string dump(const Json& json)
{
    // Text that came in as invalid UTF-8 (in an error description) is replaced rather
    // than failing the whole reply.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const std::vector<MCPResource>& resources()
{
    static const std::vector<MCPResource> list = {
        {ResourceURI::Accounts, "Accounts", "Connected social accounts (safe metadata only)", "application/json"},
        {ResourceURI::Scheduled, "Scheduled Posts", "Scheduled posts with safe fields", "application/json"},
    };
    return list;
}

const std::string* stringParam(const Json& params, const char* key)
{
    const auto found = params.find(key);
    if (found == params.end() || !found->is_string())
        return nullptr;
    return found->get_ptr<const std::string*>();
}

} // namespace

MCPServer::MCPServer(PreferenceStore& preferences, MCPToolProvider& tools)
    : m_preferences(preferences)
    , m_tools(tools)
{
}

std::optional<MCPServer::Reply> MCPServer::handle(std::string_view message)
{
    JSONRPCEnvelope envelope;
    try {
        envelope = JSONRPCEnvelope::decode(message);
    } catch (const std::exception& decodeFailure) {
        const MCPError failure = MCPError::invalidRequest(decodeFailure.what(), ErrorCode::ParseError);
        return error(JSONRPCIdentifier(std::string("-1")), failure.code(), failure.message().toStdString());
    }
    // Notifications (no id) and messages without a method are never answered.
    if (!envelope.id || !envelope.method)
        return std::nullopt;

    const Json params = envelope.params.value_or(Json::object());
    try {
        return result(*envelope.id, dispatch(*envelope.method, params));
    } catch (const MCPError& failed) {
        return error(*envelope.id, failed.code(), failed.message().toStdString());
    } catch (const std::exception& unexpected) {
        const MCPError failure = MCPError::internalError(unexpected.what());
        return error(*envelope.id, failure.code(), failure.message().toStdString());
    }
}

Json MCPServer::dispatch(const std::string& method, const Json& params)
{
    if (method == Method::Ping)
        return {{"ok", true}};
    if (method == Method::Initialize)
        return initialize(params);
    if (method == Method::ToolsList)
        return listTools();
    if (method == Method::ToolsCall)
        return callTool(params);
    if (method == Method::ResourcesList)
        return listResources();
    if (method == Method::ResourcesRead)
        return readResource(params);
    if (method == Method::Shutdown) {
        m_running = false;
        return {{"ok", true}};
    }
    throw MCPError::methodNotFound(method);
}

bool MCPServer::isEnabled()
{
    // Read fresh each time: the user may flip the switch while an editor keeps us running.
    m_preferences.sync();
    return m_preferences.boolValue(PreferenceKeys::MCPEnabled).value_or(false);
}

void MCPServer::requireEnabled()
{
    if (!isEnabled())
        throw MCPError::disabled();
}

Json MCPServer::initialize(const Json& params)
{
    static const std::array supported = {std::string(kProtocolVersion)};
    std::string version = supported.front();
    if (const std::string* requested = stringParam(params, "protocolVersion");
        requested && std::find(supported.begin(), supported.end(), *requested) != supported.end())
        version = *requested;

    Json answer = {
        {"protocolVersion", version},
        {"capabilities",
         {{"logging", Json::object()}, {"resources", {{"listChanged", true}}}, {"tools", {{"listChanged", true}}}}},
        {"serverInfo", {{"name", kServerName}, {"title", kServerTitle}, {"version", QUILLO_VERSION}}},
    };
    if (!isEnabled())
        answer["instructions"] = kDisabledInstructions;
    return answer;
}

Json MCPServer::listTools() const
{
    Json list = Json::array();
    for (const MCPTool& tool : m_tools.tools())
        list.push_back(tool.encode());
    return {{"tools", std::move(list)}};
}

Json MCPServer::callTool(const Json& params)
{
    requireEnabled();
    const std::string* name = stringParam(params, "name");
    if (!name)
        throw MCPError::invalidRequest("Missing name");
    const auto arguments = params.find("arguments");
    const Json args = (arguments != params.end() && arguments->is_object()) ? *arguments : Json::object();

    const auto& catalogue = m_tools.tools();
    const bool known = std::any_of(catalogue.begin(), catalogue.end(), [&](const MCPTool& tool) { return tool.name == *name; });
    if (!known)
        throw MCPError::methodNotFound(*name);

    const MCPToolResult outcome = m_tools.callTool(*name, args);
    return {{"content", Json::array({{{"type", "text"}, {"text", outcome.text}}})}, {"isError", outcome.isError}};
}

Json MCPServer::listResources() const
{
    Json list = Json::array();
    for (const MCPResource& resource : resources())
        list.push_back(resource.encode());
    return {{"resources", std::move(list)}};
}

Json MCPServer::readResource(const Json& params)
{
    requireEnabled();
    const std::string* uri = stringParam(params, "uri");
    if (!uri)
        throw MCPError::invalidRequest("Missing uri");
    if (*uri != ResourceURI::Accounts && *uri != ResourceURI::Scheduled)
        throw MCPError::invalidRequest("Unknown uri: " + *uri);

    Json content;
    try {
        content = m_tools.resourceContent(*uri);
    } catch (const MCPToolError& unreadable) {
        throw MCPError::unreadableStore(unreadable.message().toStdString());
    }
    const std::string text = dump(content);
    return {{"contents", Json::array({{{"uri", *uri}, {"mimeType", "application/json"}, {"text", text}}})}};
}

MCPServer::Reply MCPServer::result(const JSONRPCIdentifier& id, Json result)
{
    Json envelope = {{"jsonrpc", "2.0"}, {"id", id.encode()}, {"result", std::move(result)}};
    return {dump(envelope), std::nullopt};
}

MCPServer::Reply MCPServer::error(const JSONRPCIdentifier& id, int64_t code, const std::string& message)
{
    Json envelope = {{"jsonrpc", "2.0"}, {"id", id.encode()}, {"error", {{"code", code}, {"message", message}}}};
    return {dump(envelope), code};
}
