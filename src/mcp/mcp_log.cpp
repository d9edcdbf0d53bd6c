#include "mcp/mcp_log.h"

#include <unistd.h>

MCPLog::MCPLog(bool enabled, Sink sink)
    : m_enabled(enabled)
    , m_sink(std::move(sink))
{
}

void MCPLog::line(std::string_view text) const
{
    if (!m_enabled)
        return;
    std::string whole;
    whole.reserve(text.size() + 7);
    whole.append("[MCP] ").append(text).push_back('\n');
    m_sink(whole);
}

void MCPLog::raw(std::string_view text) const
{
    if (m_enabled)
        m_sink(text);
}

MCPLog::Sink MCPLog::stderrSink()
{
    return [](std::string_view text) {
        // One write per line keeps lines whole even when stderr is shared.
        while (!text.empty()) {
            const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
            if (written <= 0)
                return;
            text.remove_prefix(size_t(written));
        }
    };
}
