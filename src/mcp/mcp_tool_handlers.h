#pragma once

#include "mcp/mcp_tool_provider.h"

#include <functional>
#include <map>

class Clock;
class MCPArguments;
class MCPCommandSender;
class MCPCommandURL;
class MCPLog;
class MCPStateReader;

// The handlers behind the tool catalogue. State tools answer from the stored state;
// command tools build a quillo:// URL and have the running instance carry it out, so
// the assistant learns the instance's real outcome.
class MCPToolHandlers : public MCPToolProvider {
public:
    MCPToolHandlers(MCPStateReader& state, MCPCommandSender& commands, const MCPLog& log, const Clock& clock);

    const std::vector<MCPTool>& tools() const override;
    MCPToolResult callTool(const std::string& name, const Json& arguments) override;
    Json resourceContent(const std::string& uri) override;

private:
    using Handler = MCPToolResult (MCPToolHandlers::*)(const MCPArguments&);
    static const std::map<std::string, Handler>& handlers();

    MCPToolResult compose(const MCPArguments& args);
    MCPToolResult schedule(const MCPArguments& args);
    MCPToolResult calendarOpen(const MCPArguments& args);
    MCPToolResult settingsOpen(const MCPArguments& args);
    MCPToolResult settingsPlatform(const MCPArguments& args);
    MCPToolResult settingsListPlatforms(const MCPArguments& args);
    MCPToolResult open(const MCPArguments& args);
    MCPToolResult licenseOpen(const MCPArguments& args);
    MCPToolResult accountsList(const MCPArguments& args);
    MCPToolResult accountsAdd(const MCPArguments& args);
    MCPToolResult accountsRemove(const MCPArguments& args);
    MCPToolResult accountsEdit(const MCPArguments& args);
    MCPToolResult accountsSetDefault(const MCPArguments& args);
    MCPToolResult scheduledList(const MCPArguments& args);
    MCPToolResult scheduledEdit(const MCPArguments& args);
    MCPToolResult scheduledDelete(const MCPArguments& args);

    // Sends the command; the instance's failure message becomes the tool error.
    MCPToolResult send(const MCPCommandURL& url, const std::string& successText, const char* completionLabel = nullptr);

    MCPStateReader& m_state;
    MCPCommandSender& m_commands;
    const MCPLog& m_log;
    const Clock& m_clock;
};
