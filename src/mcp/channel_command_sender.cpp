#include "mcp/channel_command_sender.h"

#include "channel/command_channel_client.h"

ChannelCommandSender::ChannelCommandSender(AppPaths paths)
    : m_paths(std::move(paths))
{
}

MCPCommandSender::Outcome ChannelCommandSender::send(const QUrl& url)
{
    CommandChannelClient client(m_paths);
    CommandOutcome outcome = client.send(url.toString(QUrl::FullyEncoded));
    // The next tool call may read the store: answer only once the change is in it.
    if (outcome.ok) {
        if (const CommandOutcome stored = client.sync(); !stored.ok)
            outcome = stored;
    }
    return {outcome.ok, outcome.message.toStdString()};
}
