#include "mcp/mcp_stdio_transport.h"

#include "mcp/mcp_log.h"

#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/uio.h>
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
    const size_t newline = m_buffer.find('\n', std::max(m_scanned, m_start));
    if (newline == std::string::npos) {
        // Drop consumed bytes only now, once per read, not once per message.
        m_buffer.erase(0, m_start);
        m_start = 0;
        m_scanned = m_buffer.size();
        return std::nullopt;
    }
    size_t end = newline;
    if (end > m_start && m_buffer[end - 1] == '\r')
        --end;
    std::string message = m_buffer.substr(m_start, end - m_start);
    m_start = newline + 1;
    m_scanned = m_start;

    if (m_log.enabled()) {
        m_log.raw("[MCP] MCPStdio.readMessage: extracted message (" + std::to_string(message.size()) + " bytes)\n");
        m_log.raw("[MCP] MCPStdio.readMessage: content: " + message + "\n");
    }
    return message;
}

bool MCPStdioTransport::write(std::string_view message)
{
    if (m_log.enabled())
        m_log.raw("[MCP] MCPStdio.write: sending (" + std::to_string(message.size()) + " bytes): " + std::string(message) + "\n");
    if (!writeLine(message)) {
        m_log.raw("[MCP] MCPStdio.write: output closed\n");
        return false;
    }
    m_log.raw("[MCP] MCPStdio.write: write completed\n");
    return true;
}

// The message and its line feed go out as two buffers of one writev call: the bytes on
// the pipe are the same as two writes, at half the system calls.
bool MCPStdioTransport::writeLine(std::string_view message)
{
    char newline = '\n';
    iovec parts[2] = {{const_cast<char*>(message.data()), message.size()}, {&newline, 1}};
    const size_t total = message.size() + 1;
    ssize_t written = 0;
    do {
        written = ::writev(m_output, parts, 2);
    } while (written < 0 && errno == EINTR);
    if (written == ssize_t(total))
        return true;
    if (written < 0)
        return false;
    // A short write (a full pipe): finish the rest plainly.
    const std::string rest = std::string(message).append(1, '\n').substr(size_t(written));
    return writeAll(rest);
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
