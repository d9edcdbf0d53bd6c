#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_tool_provider.h"
#include "support/temp_home.h"

#include <gtest/gtest.h>

namespace {

// One tool that echoes its arguments, so dispatch and argument handling are visible.
class EchoTools : public MCPToolProvider {
public:
    const std::vector<MCPTool>& tools() const override
    {
        static const std::vector<MCPTool> list = {{"echo", "Echoes its arguments.", {{"type", "object"}}}};
        return list;
    }
    MCPToolResult callTool(const std::string&, const Json& arguments) override
    {
        return {arguments.dump(), arguments.contains("fail")};
    }
    Json resourceContent(const std::string& uri) override { return Json::array({uri}); }
};

class MCPServerTest : public ::testing::Test {
protected:
    Json send(const std::string& line)
    {
        const auto reply = m_server.handle(line);
        if (!reply)
            return nullptr;
        return Json::parse(reply->bytes);
    }
    Json call(const Json& request) { return send(request.dump()); }
    void enable(bool on)
    {
        // A second store stands for the settings window of the running app.
        PreferenceStore other(m_home.paths());
        other.setValue(PreferenceKeys::MCPEnabled, on);
    }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    EchoTools m_tools;
    MCPServer m_server{m_preferences, m_tools};
};

TEST_F(MCPServerTest, EchoesIdsInTheirOwnTypeAndRejectsOthers)
{
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":7,"method":"ping"})")["id"], Json(7));
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":0,"method":"ping"})")["id"], Json(0));
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":"a","method":"ping"})")["id"], Json("a"));
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":"7","method":"ping"})")["id"], Json("7"));
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":7.0,"method":"ping"})")["id"], Json(7));
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":7,"method":"ping"})")["result"], Json({{"ok", true}}));

    for (const char* odd : {R"({"jsonrpc":"2.0","id":1.5,"method":"ping"})", R"({"jsonrpc":"2.0","id":{},"method":"ping"})",
                            R"({"jsonrpc":"2.0","id":true,"method":"ping"})", R"({"jsonrpc":"2.0","id":[1],"method":"ping"})"}) {
        const Json reply = send(odd);
        EXPECT_EQ(reply["id"], Json("-1")) << odd;
        EXPECT_EQ(reply["error"]["code"], -32700) << odd;
    }
}

TEST_F(MCPServerTest, NotificationsAndMethodlessMessagesGetNoAnswer)
{
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), nullptr);
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","method":"tools/call","params":{"name":"echo"}})"), nullptr);
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":null,"method":"ping"})"), nullptr);
    EXPECT_EQ(send(R"({"jsonrpc":"2.0","id":4,"result":{}})"), nullptr);
}

TEST_F(MCPServerTest, UndecodableMessagesGetAParseErrorWithTextIdMinusOne)
{
    const std::vector<std::string> bad = {
        "", "   ", "not json", "[1,2]", "42", "\"text\"", "null", "{\"jsonrpc\":\"2.0\",\"id\":1",
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"ping\",\"params\":[1]}",
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"ping\",\"params\":\"x\"}",
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":5}",
        "{\"id\":1,\"method\":\"ping\"}",
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"p\xff\xfe\"}",
        std::string("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"ping\"}\0trailing", 48),
    };
    for (const std::string& line : bad) {
        const auto reply = m_server.handle(line);
        ASSERT_TRUE(reply.has_value()) << line;
        const Json json = Json::parse(reply->bytes); // always valid JSON, even for invalid UTF-8 input
        EXPECT_EQ(json["id"], Json("-1")) << line;
        EXPECT_EQ(json["error"]["code"], -32700) << line;
        EXPECT_EQ(json["error"]["message"].get<std::string>().rfind("Invalid request: ", 0), 0u) << line;
        EXPECT_EQ(reply->errorCode, -32700);
    }
}

TEST_F(MCPServerTest, InitializeNegotiatesAndExplainsTheDisabledState)
{
    const Json known = call({{"jsonrpc", "2.0"}, {"id", 0}, {"method", "initialize"}, {"params", {{"protocolVersion", "2024-11-05"}}}});
    EXPECT_EQ(known["result"]["protocolVersion"], "2024-11-05");
    EXPECT_EQ(known["result"]["serverInfo"]["name"], "Quillo MCP");
    EXPECT_EQ(known["result"]["capabilities"]["tools"]["listChanged"], true);
    EXPECT_EQ(known["result"]["instructions"], "MCP is disabled in Quillo settings. Enable it to allow tools/resources.");

    for (const Json& version : {Json("2025-06-18"), Json(5), Json(nullptr)}) {
        const Json reply = call({{"jsonrpc", "2.0"}, {"id", 1}, {"method", "initialize"}, {"params", {{"protocolVersion", version}}}});
        EXPECT_EQ(reply["result"]["protocolVersion"], "2024-11-05") << version;
    }
    enable(true);
    const Json enabled = call({{"jsonrpc", "2.0"}, {"id", 2}, {"method", "initialize"}});
    EXPECT_FALSE(enabled["result"].contains("instructions"));
}

TEST_F(MCPServerTest, GateIsReadFreshAtEveryGatedCall)
{
    const Json callEcho = {{"jsonrpc", "2.0"}, {"id", 1}, {"method", "tools/call"}, {"params", {{"name", "echo"}}}};
    const Json readScheduled = {{"jsonrpc", "2.0"}, {"id", 2}, {"method", "resources/read"}, {"params", {{"uri", "quillo:///scheduled"}}}};

    EXPECT_EQ(call(callEcho)["error"], Json({{"code", 1000}, {"message", "MCP server is disabled in Quillo settings"}}));
    EXPECT_EQ(call(readScheduled)["error"]["code"], 1000);
    // Listing is never gated.
    EXPECT_EQ(call({{"jsonrpc", "2.0"}, {"id", 3}, {"method", "tools/list"}})["result"]["tools"][0]["name"], "echo");
    EXPECT_EQ(call({{"jsonrpc", "2.0"}, {"id", 4}, {"method", "resources/list"}})["result"]["resources"].size(), 2u);

    enable(true);
    EXPECT_EQ(call(callEcho)["result"]["isError"], false);
    EXPECT_EQ(call(readScheduled)["result"]["contents"][0]["text"], "[\"quillo:///scheduled\"]");
    enable(false);
    EXPECT_EQ(call(callEcho)["error"]["code"], 1000);
}

TEST_F(MCPServerTest, ToolCallsAndResourceReadsCheckTheirParameters)
{
    enable(true);
    const auto request = [](const char* method, Json params) {
        return Json{{"jsonrpc", "2.0"}, {"id", 9}, {"method", method}, {"params", std::move(params)}};
    };
    EXPECT_EQ(call(request("tools/call", Json::object()))["error"], Json({{"code", -32602}, {"message", "Invalid request: Missing name"}}));
    EXPECT_EQ(call(request("tools/call", {{"name", 3}}))["error"]["code"], -32602);
    EXPECT_EQ(call(request("tools/call", {{"name", "nope"}}))["error"], Json({{"code", -32601}, {"message", "Method not found: nope"}}));

    const Json echoed = call(request("tools/call", {{"name", "echo"}, {"arguments", {{"text", "hi"}, {"fail", 1}}}}));
    EXPECT_EQ(echoed["result"], Json({{"content", {{{"type", "text"}, {"text", R"({"text":"hi","fail":1})"}}}}, {"isError", true}}));
    // Arguments that are not an object count as none.
    EXPECT_EQ(call(request("tools/call", {{"name", "echo"}, {"arguments", "x"}}))["result"]["content"][0]["text"], "{}");

    EXPECT_EQ(call(request("resources/read", Json::object()))["error"], Json({{"code", -32602}, {"message", "Invalid request: Missing uri"}}));
    EXPECT_EQ(call(request("resources/read", {{"uri", "quillo:///other"}}))["error"],
              Json({{"code", -32602}, {"message", "Invalid request: Unknown uri: quillo:///other"}}));
    const Json read = call(request("resources/read", {{"uri", "quillo:///accounts"}}));
    EXPECT_EQ(read["result"]["contents"][0]["mimeType"], "application/json");
    EXPECT_EQ(read["result"]["contents"][0]["uri"], "quillo:///accounts");

    EXPECT_EQ(call(request("nope/method", Json::object()))["error"], Json({{"code", -32601}, {"message", "Method not found: nope/method"}}));
}

TEST_F(MCPServerTest, ShutdownIsAnsweredThenStopsTheLoop)
{
    EXPECT_TRUE(m_server.running());
    EXPECT_EQ(call({{"jsonrpc", "2.0"}, {"id", 5}, {"method", "shutdown"}})["result"], Json({{"ok", true}}));
    EXPECT_FALSE(m_server.running());
}

} // namespace
