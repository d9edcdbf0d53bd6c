#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/any_codable.h"
#include "support/quillo_process.h"
#include "support/temp_home.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <random>

// The built binary in MCP mode, spoken to over its pipes.
namespace {

Json nextReply(QuilloProcess& quillo)
{
    const auto line = quillo.readLine();
    if (!line)
        return nullptr;
    return Json::parse(line->toStdString());
}

TEST(MCPProcess, EndOfInputWithoutMessagesExitsZeroWithItsTwoLogLines)
{
    TempHome home;
    QuilloProcess quillo(home.path());
    quillo.start({QStringLiteral("--mcp-stdio"), QStringLiteral("--mcp-debug")});
    quillo.closeInput();
    EXPECT_EQ(quillo.waitForExit(), 0);
    EXPECT_TRUE(quillo.allStdout().isEmpty());
    const QByteArray log = quillo.allStderr();
    EXPECT_TRUE(log.contains("[MCP] starting stdio server\n")) << log.constData();
    EXPECT_TRUE(log.contains("[MCP] stdin closed; exiting\n")) << log.constData();
    for (const QByteArray& line : log.split('\n'))
        EXPECT_TRUE(line.isEmpty() || line.startsWith("[MCP] ")) << line.constData();
}

TEST(MCPProcess, SurvivesHostileInputAndAnswersInOrder)
{
    TempHome home;
    QuilloProcess quillo(home.path());
    quillo.environment().insert(QStringLiteral("QUILLO_MCP_STDIO"), QStringLiteral("1"));
    quillo.start({});

    QByteArray input;
    input += "\n";                                            // empty line
    input += "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"ping\"}\r\n"; // CRLF
    input += "\xc3\x28\xff\n";                                // invalid UTF-8
    input += "[1,2,3]\n";
    input += "{\"jsonrpc\":\"2.0\",\"method\":\"ping\"}\n";   // notification: silence
    input += "{\"jsonrpc\":\"2.0\",\"id\":\"big\",\"method\":\"ping\",\"params\":{\"pad\":\"" + QByteArray(10 * 1024 * 1024, 'a') + "\"}}\n";
    input += "{\"jsonrpc\":\"2.0\",\"id\":2,\"method\":\"shutdown\"}\n";
    input += "{\"jsonrpc\":\"2.0\",\"id\":3,\"method\":\"ping\"}\n"; // after shutdown: never read
    quillo.write(input);

    EXPECT_EQ(nextReply(quillo)["error"]["code"], -32700);
    EXPECT_EQ(nextReply(quillo)["id"], 1);
    EXPECT_EQ(nextReply(quillo)["id"], "-1");
    EXPECT_EQ(nextReply(quillo)["id"], "-1");
    EXPECT_EQ(nextReply(quillo)["id"], "big");
    const Json bye = nextReply(quillo);
    EXPECT_EQ(bye["id"], 2);
    EXPECT_EQ(bye["result"]["ok"], true);
    EXPECT_EQ(quillo.waitForExit(), 0);
    EXPECT_TRUE(quillo.allStdout().isEmpty()) << "nothing after the shutdown answer";
    EXPECT_TRUE(quillo.allStderr().isEmpty()) << "stderr stays quiet without debugging";
}

TEST(MCPProcess, DeepNestingAndHugeTokensAreAnsweredNotFatal)
{
    TempHome home;
    QuilloProcess quillo(home.path());
    quillo.start({QStringLiteral("--mcp-stdio")});

    // Lines nested from a few levels to tens of thousands, in every container mix,
    // inside params (a valid envelope otherwise) and bare.
    std::mt19937 engine(2022);
    for (int round = 0; round < 24; ++round) {
        const int depth = round % 3 == 0 ? 30000 : int(engine() % 400);
        QByteArray open;
        QByteArray close;
        for (int level = 0; level < depth; ++level) {
            const bool object = engine() % 2 == 0;
            open += object ? "{\"k\":" : "[";
            close.prepend(object ? '}' : ']');
        }
        const bool wrapped = round % 2 == 0;
        QByteArray line = open + close;
        if (wrapped)
            line = R"({"jsonrpc":"2.0","id":5,"method":"ping","params":{"p":)" + open + "1" + close + "}}";
        quillo.writeLine(line);
        const Json reply = nextReply(quillo);
        ASSERT_TRUE(reply.is_object()) << "no answer at depth " << depth;
        if (wrapped && depth < 120) {
            EXPECT_EQ(reply["result"]["ok"], true) << depth;
        } else if (depth > JsonValues::kMaxNesting) {
            EXPECT_EQ(reply["error"]["code"], -32700) << depth;
        }
    }

    // A 20 MB token that is not JSON: answered, quoting only its start.
    quillo.writeLine(QByteArray(20 * 1024 * 1024, 'x'));
    const auto answer = quillo.readLine();
    ASSERT_TRUE(answer.has_value());
    EXPECT_LT(answer->size(), 1000);
    EXPECT_EQ(Json::parse(answer->toStdString())["error"]["code"], -32700);

    quillo.closeInput();
    EXPECT_EQ(quillo.waitForExit(), 0);
}

TEST(MCPProcess, AClientThatStopsReadingEndsTheServerCleanly)
{
    // The reader (head) leaves after the first answer and closes the pipe for good.
    TempHome home;
    QProcess shell;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUILLO_HOME"), home.path());
    shell.setProcessEnvironment(environment);
    const QString script = QStringLiteral(
        "for i in $(seq 200); do echo '{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"tools/list\"}'; done"
        " | '%1' --mcp-stdio | head -c 10 > /dev/null; echo \"${PIPESTATUS[1]}\"").arg(QStringLiteral(QUILLO_BINARY));
    shell.start(QStringLiteral("bash"), {QStringLiteral("-c"), script});
    ASSERT_TRUE(shell.waitForFinished(30000));
    EXPECT_EQ(shell.readAllStandardOutput().trimmed(), "0") << "the server's exit status";
}

TEST(MCPProcess, SettingsFlippedWhileRunningTakeEffectAtTheNextCall)
{
    TempHome home;
    QuilloProcess quillo(home.path());
    quillo.start({QStringLiteral("--mcp-stdio")});
    const QByteArray read = R"({"jsonrpc":"2.0","id":1,"method":"resources/read","params":{"uri":"quillo:///scheduled"}})";

    quillo.writeLine(read);
    EXPECT_EQ(nextReply(quillo)["error"]["code"], 1000);

    PreferenceStore settings(home.paths());
    settings.setValue(PreferenceKeys::MCPEnabled, true);
    quillo.writeLine(read);
    EXPECT_TRUE(nextReply(quillo).contains("result"));

    quillo.closeInput();
    EXPECT_EQ(quillo.waitForExit(), 0);
}

TEST(MCPProcess, OtherValuesOfTheSwitchStartTheInstanceInstead)
{
    TempHome home;
    QuilloProcess quillo(home.path());
    quillo.environment().insert(QStringLiteral("QUILLO_MCP_STDIO"), QStringLiteral("true"));
    quillo.start({QStringLiteral("--headless")});
    quillo.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"ping"})");
    EXPECT_EQ(quillo.readLine(1500), std::nullopt);
    quillo.process().terminate();
    EXPECT_EQ(quillo.waitForExit(), 0);
    EXPECT_TRUE(quillo.allStderr().contains("Application did finish launching"));
}

} // namespace
