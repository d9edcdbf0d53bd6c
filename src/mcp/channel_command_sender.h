#pragma once

#include "core/app_paths.h"
#include "mcp/mcp_command_sender.h"

// Sends commands over the command channel to the running instance (starting one when
// none runs) and waits for its answer before the next MCP message is read.
class ChannelCommandSender : public MCPCommandSender {
public:
    explicit ChannelCommandSender(AppPaths paths);

    Outcome send(const QUrl& url) override;

private:
    AppPaths m_paths;
};
