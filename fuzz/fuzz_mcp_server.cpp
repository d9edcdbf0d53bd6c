// Feeds arbitrary bytes to the MCP dispatcher as one message: it must answer or stay
// silent, never crash, and every answer must itself be valid JSON.
#include "app/app_paths.h"
#include "app/preferences/preference_store.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_tool_catalogue.h"

#include <QTemporaryDir>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir home;
    static PreferenceStore preferences(AppPaths::underHome(home.path()));
    static MCPToolCatalogue tools;
    MCPServer server(preferences, tools);

    const auto reply = server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
    if (reply && !Json::accept(reply->bytes))
        std::abort();
    return 0;
}
