#include "mcp/mcp_log.h"
#include "mcp/mcp_stdio_transport.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include <unistd.h>

namespace {

// A transport reading from one pipe and writing to another, with its debug lines captured.
class TransportTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(::pipe(m_in), 0);
        ASSERT_EQ(::pipe(m_out), 0);
    }
    void TearDown() override
    {
        for (int fd : {m_in[0], m_in[1], m_out[0], m_out[1]})
            if (fd >= 0)
                ::close(fd);
    }
    void feed(std::string_view bytes) { ASSERT_EQ(::write(m_in[1], bytes.data(), bytes.size()), ssize_t(bytes.size())); }
    void endInput()
    {
        ::close(m_in[1]);
        m_in[1] = -1;
    }
    std::string written()
    {
        ::close(m_out[1]);
        m_out[1] = -1;
        std::string all;
        char buffer[256];
        for (ssize_t n; (n = ::read(m_out[0], buffer, sizeof buffer)) > 0;)
            all.append(buffer, size_t(n));
        return all;
    }

    std::string m_debug;
    MCPLog m_log{true, [this](std::string_view text) { m_debug.append(text); }};
    int m_in[2] = {-1, -1};
    int m_out[2] = {-1, -1};
};

TEST_F(TransportTest, FramesLinesAcrossAndWithinReads)
{
    MCPStdioTransport transport(m_in[0], m_out[0], m_log);
    feed("first\r\nsec");
    EXPECT_EQ(transport.readMessage(), "first");
    m_debug.clear();
    feed("ond\n\nwith\rcr\r\n");
    // The second message needs the next read; the third and fourth come from the buffer.
    EXPECT_EQ(transport.readMessage(), "second");
    EXPECT_NE(m_debug.find("received chunk ("), std::string::npos);
    m_debug.clear();
    EXPECT_EQ(transport.readMessage(), "");
    EXPECT_EQ(transport.readMessage(), "with\rcr");
    EXPECT_EQ(m_debug.find("received chunk"), std::string::npos) << "no read for buffered lines";

    feed("partial without newline");
    endInput();
    EXPECT_EQ(transport.readMessage(), std::nullopt);
    EXPECT_NE(m_debug.find("[MCP] MCPStdio.readMessage: stdin closed (EOF)\n"), std::string::npos);
}

TEST_F(TransportTest, LongLinesSpanManyReads)
{
    MCPStdioTransport transport(m_in[0], m_out[0], m_log);
    const std::string big(3 * MCPStdioTransport::kReadChunk + 17, 'x');
    std::thread writer([&] {
        feed(big + "\nnext\n");
        endInput();
    });
    EXPECT_EQ(transport.readMessage(), big);
    EXPECT_EQ(transport.readMessage(), "next");
    EXPECT_EQ(transport.readMessage(), std::nullopt);
    writer.join();
}

TEST_F(TransportTest, MarksChunksThatAreNotUtf8)
{
    MCPStdioTransport transport(m_in[0], m_out[0], m_log);
    feed("\xff\xfe\n");
    EXPECT_EQ(transport.readMessage(), "\xff\xfe");
    EXPECT_NE(m_debug.find("[MCP] MCPStdio.readMessage: received chunk (3 bytes) [not UTF-8]\n"), std::string::npos);
    EXPECT_NE(m_debug.find("[MCP] MCPStdio.readMessage: extracted message (2 bytes)\n"), std::string::npos);
}

TEST_F(TransportTest, WritesEachMessageWithOneLineFeed)
{
    MCPStdioTransport transport(m_in[0], m_out[1], m_log);
    transport.write(R"({"a":1})");
    transport.write("");
    EXPECT_EQ(written(), "{\"a\":1}\n\n");
    EXPECT_NE(m_debug.find("[MCP] MCPStdio.write: sending (7 bytes): {\"a\":1}\n[MCP] MCPStdio.write: write completed\n"), std::string::npos);
}

} // namespace
