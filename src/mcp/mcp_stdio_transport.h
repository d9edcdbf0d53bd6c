#pragma once

#include <optional>
#include <string>
#include <string_view>

class MCPLog;

// Newline-delimited messages over two file descriptors (stdin and stdout in the
// server). Knows nothing of JSON: it hands whole lines up and writes whole lines out.
class MCPStdioTransport {
public:
    static constexpr size_t kReadChunk = 4096;

    MCPStdioTransport(int input, int output, const MCPLog& log);

    // One message without its line feed (and without a CR before it), or nothing when
    // the input has ended. Blocks until a whole line is there. A partial last line
    // without a line feed is dropped at end of input.
    std::optional<std::string> readMessage();
    // The message, then a single line feed. False when the reader has gone away.
    bool write(std::string_view message);

private:
    std::optional<std::string> extractLine();
    bool writeLine(std::string_view message);
    bool writeAll(std::string_view bytes);

    int m_input;
    int m_output;
    const MCPLog& m_log;
    std::string m_buffer;
    // Start of the bytes not yet handed out.
    size_t m_start = 0;
    // Where the search for the next line feed resumes, so a long line arriving in many
    // chunks is scanned once rather than once per chunk.
    size_t m_scanned = 0;
};
