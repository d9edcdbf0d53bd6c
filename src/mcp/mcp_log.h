#pragma once

#include <functional>
#include <string>
#include <string_view>

// The MCP process's diagnostic output: "[MCP] " lines on stderr, and only when
// debugging is on. stdout belongs to the protocol alone.
class MCPLog {
public:
    using Sink = std::function<void(std::string_view)>;

    explicit MCPLog(bool enabled, Sink sink = stderrSink());

    bool enabled() const { return m_enabled; }
    // Writes "[MCP] " + text + "\n".
    void line(std::string_view text) const;
    // Writes text exactly as given (it carries its own prefix and line feed).
    void raw(std::string_view text) const;

    static Sink stderrSink();

private:
    bool m_enabled;
    Sink m_sink;
};
