#include "mcp/mcp_stdio_transport.h"

#include "mcp/mcp_log.h"

#include <QStringDecoder>

#include <array>
#include <cerrno>

#include <unistd.h>

namespace {

bool isValidUtf8(std::string_view bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(QByteArrayView(bytes.data(), qsizetype(bytes.size())));
    Q_UNUSED(text);
    return !decoder.hasError();
}

} // namespace

MCPStdioTransport::MCPStdioTransport(int input, int output, const MCPLog& log)
    : m_input(input)
    , m_output(output)
    , m_log(log)
{
}

std::optional<std::string> MCPStdioTransport::readMessage()
{
    for (;;) {
        if (auto message = extractLine())
            return message;

        std::array<char, kReadChunk> scratch{};
        ssize_t count = 0;
        do {
            count = ::read(m_input, scratch.data(), scratch.size());
        } while (count < 0 && errno == EINTR);

        if (count <= 0) {
            m_log.raw("[MCP] MCPStdio.readMessage: stdin closed (EOF)\n");
            return std::nullopt;
        }
        const std::string_view chunk(scratch.data(), size_t(count));
        if (m_log.enabled()) {
            const std::string prefix = "[MCP] MCPStdio.readMessage: received chunk (" + std::to_string(count);
            if (isValidUtf8(chunk))
                m_log.raw(prefix + " bytes): " + std::string(chunk) + "\n");
            else
                m_log.raw(prefix + " bytes) [not UTF-8]\n");
        }
        m_buffer.append(chunk);
    }
}

std::optional<std::string> MCPStdioTransport::extractLine()
{
    const size_t newline = m_buffer.find('\n', m_scanned);
    if (newline == std::string::npos) {
        m_scanned = m_buffer.size();
        return std::nullopt;
    }
    size_t length = newline;
    if (length > 0 && m_buffer[length - 1] == '\r')
        --length;
    std::string message = m_buffer.substr(0, length);
    m_buffer.erase(0, newline + 1);
    m_scanned = 0;

    if (m_log.enabled()) {
        m_log.raw("[MCP] MCPStdio.readMessage: extracted message (" + std::to_string(message.size()) + " bytes)\n");
        m_log.raw("[MCP] MCPStdio.readMessage: content: " + message + "\n");
    }
    return message;
}

void MCPStdioTransport::write(std::string_view message)
{
    if (m_log.enabled())
        m_log.raw("[MCP] MCPStdio.write: sending (" + std::to_string(message.size()) + " bytes): " + std::string(message) + "\n");
    writeAll(message);
    writeAll("\n");
    m_log.raw("[MCP] MCPStdio.write: write completed\n");
}

bool MCPStdioTransport::writeAll(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_output, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(size_t(written));
    }
    return true;
}
