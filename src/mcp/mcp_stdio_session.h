#pragma once

class MCPLog;
class MCPServer;
class MCPStdioTransport;

// The server loop: read one line, answer it, repeat until end of input, "shutdown"
// or a closed output.
// Synchronous on the calling thread: a reply is written before the next line is read.
class MCPStdioSession {
public:
    MCPStdioSession(MCPStdioTransport& transport, MCPServer& server, const MCPLog& log);

    // Returns the process exit status, which is always 0.
    int run();

private:
    MCPStdioTransport& m_transport;
    MCPServer& m_server;
    const MCPLog& m_log;
};
