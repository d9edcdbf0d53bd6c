#include "mcp/mcp_stdio_session.h"

#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_stdio_transport.h"

MCPStdioSession::MCPStdioSession(MCPStdioTransport& transport, MCPServer& server, const MCPLog& log)
    : m_transport(transport)
    , m_server(server)
    , m_log(log)
{
}

int MCPStdioSession::run()
{
    m_log.line("starting stdio server");
    while (m_server.running()) {
        const auto message = m_transport.readMessage();
        if (!message)
            break;
        if (m_log.enabled())
            m_log.line("received " + std::to_string(message->size()) + " bytes");
        const auto reply = m_server.handle(*message);
        if (!reply)
            continue;
        // The client closed our stdout: nobody is left to answer, which ends the session
        // like the end of input does.
        if (!m_transport.write(reply->bytes))
            break;
        if (!m_log.enabled())
            continue;
        if (reply->errorCode)
            m_log.line("sent error (" + std::to_string(reply->bytes.size()) + " bytes): code=" + std::to_string(*reply->errorCode));
        else
            m_log.line("sent response (" + std::to_string(reply->bytes.size()) + " bytes)");
    }
    m_log.line("stdin closed; exiting");
    return 0;
}
