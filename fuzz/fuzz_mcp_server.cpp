// Feeds arbitrary bytes to the MCP dispatcher as one message: it must answer or stay
// silent, never crash, and every answer must itself be valid JSON.
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_handlers.h"

#include <QTemporaryDir>

#include <cstdlib>

namespace {
// Commands never leave the fuzzer: each one is refused as if no instance ran.
struct RefusingSender : MCPCommandSender {
    Outcome send(const QUrl&) override { return {false, "no instance"}; }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir home;
    static PreferenceStore preferences(AppPaths::underHome(home.path()));
    static MCPStateReader state(preferences);
    static RefusingSender sender;
    static const MCPLog log(false);
    static const SystemClock clock;
    static MCPToolHandlers tools(state, sender, log, clock);
    // Tool calls are only served when the switch is on.
    static const bool enabled = (preferences.setValue(QStringLiteral("MCP.Enabled"), true), true);
    (void)enabled;
    MCPServer server(preferences, tools);

    const auto reply = server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
    if (reply && !Json::accept(reply->bytes))
        std::abort();
    return 0;
}
