#include "core/json_reader.h"
#include "core/json_tape.h"
#include "core/json_writer.h"
#include "core/json_values.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

bool accepted(const QByteArray& text)
{
    try {
        JsonTape::parse(text);
        return true;
    } catch (const CodingError&) {
        return false;
    }
}

TEST(JsonTape, AcceptsExactlyWhatStrictJsonAccepts)
{
    const char* valid[] = {
        "0", "-0", "1.5e-3", "-12E+2", "true", "null", "\"\"", "[]", "{}", " [ 1 , [ ] , { } ] ",
        R"({"a":{"b":[1,2,{"c":null}]},"d":"\u00fc\ud83c\udfac\/\"\\\b\f\n\r\t"})", "\"\xc3\xbc\xe2\x86\x93\xf0\x9f\x8e\xac\"",
    };
    for (const char* text : valid) {
        EXPECT_TRUE(accepted(QByteArray(text))) << text;
        EXPECT_TRUE(Json::accept(text)) << "nlohmann disagrees: " << text;
    }
    const char* invalid[] = {
        "", " ", "[", "]", "{", "[1,]", "{\"a\":1,}", "{\"a\" 1}", "{a:1}", "01", "1.", ".5", "+1", "-", "1e", "NaN",
        "Infinity", "tru", "nul", "[1 2]", "{} {}", "\"abc", "\"\\x\"", "\"\\u12\"", "\"\\ud800\"", "\"\\udc00\"",
        "\"\\ud800\\u0041\"", "\"\t\"", "\"\xff\"", "\"\xc0\xaf\"", "\"\xed\xa0\x80\"", "\"\xf4\x90\x80\x80\"", "\"\xe2\x82\"",
        "// comment\n1", "[1]x", "1e999", "-1e999",
    };
    for (const char* text : invalid) {
        EXPECT_FALSE(accepted(QByteArray(text))) << text;
        EXPECT_FALSE(Json::accept(text)) << "nlohmann disagrees: " << text;
    }
    EXPECT_FALSE(accepted(QByteArray("[1,\0 2]", 7)));
}

TEST(JsonTape, StringsNumbersAndStructure)
{
    const JsonTape tape = JsonTape::parse(QByteArray(R"({"k\"ey":["plain","\u00fc\n",-2.5,false,{}],"n":null})"));
    ASSERT_EQ(tape.node(0).type, JsonTape::Type::object);
    EXPECT_EQ(tape.node(0).end, tape.size());
    EXPECT_EQ(tape.text(1), "k\"ey");
    EXPECT_EQ(tape.node(2).type, JsonTape::Type::array);
    EXPECT_EQ(tape.text(3), "plain");
    EXPECT_EQ(tape.text(4), "\xc3\xbc\n");
    EXPECT_EQ(tape.node(5).number, -2.5);
    EXPECT_FALSE(tape.node(6).flag);
    EXPECT_EQ(tape.next(2), 8u);
    EXPECT_EQ(tape.text(8), "n");
    EXPECT_EQ(tape.node(9).type, JsonTape::Type::null);
}

TEST(JsonWriter, WritesWhatTheTapeReadsBack)
{
    const QString tricky = QStringLiteral("quote \" backslash \\ newline \n tab \t bell \a ü 🎬 ") + QChar(0xD800);
    for (const JsonLayout layout : {JsonLayout::compact, JsonLayout::pretty}) {
        JsonWriter writer(layout);
        writer.beginObject();
        writer.key("text");
        writer.string(tricky);
        writer.key("numbers");
        writer.beginArray();
        for (const double n : {0.0, -0.0, 1.0, -3.0, 0.1, 1e21, 123456789.125, 1e-7, 9007199254740993.0})
            writer.number(n);
        writer.endArray();
        writer.key("empty");
        writer.beginObject();
        writer.endObject();
        writer.key("id");
        writer.uuid(QUuid(QStringLiteral("0a1b2c3d-4e5f-4071-8293-a4b5c6d7e8f9")));
        writer.endObject();

        const Json parsed = Json::parse(writer.text());
        EXPECT_EQ(QString::fromStdString(parsed["text"].get<std::string>()),
                  tricky.left(tricky.size() - 1) + QChar(0xFFFD));
        EXPECT_EQ(parsed["numbers"].dump(), "[0,0,1,-3,0.1,1e+21,123456789.125,1e-07,9007199254740992]");
        EXPECT_EQ(parsed["id"], "0A1B2C3D-4E5F-4071-8293-A4B5C6D7E8F9");
        EXPECT_EQ(layout == JsonLayout::pretty, writer.text().find("\n  \"numbers\": [\n    0,") != std::string::npos);
        EXPECT_TRUE(accepted(writer.toByteArray()));
    }
    JsonWriter writer;
    EXPECT_THROW(writer.number(std::numeric_limits<double>::infinity()), CodingError);
}

} // namespace

// Lookups go through a per-object key filter: every key must still be found, absent
// ones missed, and the last of a repeated key must win, in large and small objects.
TEST(JsonReader, FindsEveryKeyAndTheLastOfARepeatedOne)
{
    QByteArray document = "{";
    for (int i = 0; i < 200; ++i)
        document += "\"key" + QByteArray::number(i) + "\":" + QByteArray::number(i) + ",";
    document += R"("dup":1,"x":true,"dup":2,"":3})";
    const JsonTape tape = JsonTape::parse(document);
    const JsonReader root(tape);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(root["key" + std::to_string(i)].number(), i);
    EXPECT_EQ(root["dup"].number(), 2);
    EXPECT_EQ(root[""].number(), 3);
    EXPECT_FALSE(root.optional("key200"));
    EXPECT_FALSE(root.optional("ke"));

    const JsonTape small = JsonTape::parse(R"({"id":1,"text":"a","id":2})");
    EXPECT_EQ(JsonReader(small)["id"].number(), 2);
    EXPECT_EQ(JsonReader(small)["text"].string(), QStringLiteral("a"));
    EXPECT_FALSE(JsonReader(small).optional("txet"));

    // Lookups in any order, repeated, after a miss: each search starts where the last ended.
    const JsonTape plain = JsonTape::parse(R"({"a":1,"bb":2,"ccc":3,"dddd":null})");
    const JsonReader reader(plain);
    for (const auto& [key, value] : {std::pair{"ccc", 3}, {"a", 1}, {"bb", 2}, {"bb", 2}, {"ccc", 3}, {"a", 1}}) {
        EXPECT_EQ(reader[key].number(), value) << key;
        EXPECT_FALSE(reader.optional("dddd"));
    }
}

namespace nesting {

// A valid document whose deepest container sits `depth` levels down, with strings that
// hold brackets and escaped quotes on the way, so a scanner that miscounts them shows.
std::string documentOfDepth(int depth, std::mt19937& engine)
{
    static const char* strings[] = {R"("[[[")", R"("]}]")", R"("\"[")", R"("\\")", R"("{\"a\":[")"};
    std::string text;
    std::vector<char> closers;
    for (int level = 0; level < depth; ++level) {
        const bool object = engine() % 2 == 0;
        if (engine() % 3 == 0) {
            // A sibling string before the next container.
            text += object ? "{\"s\":" : "[";
            text += strings[engine() % std::size(strings)];
            text += object ? ",\"k\":" : ",";
        } else {
            text += object ? "{\"k\":" : "[";
        }
        closers.push_back(object ? '}' : ']');
    }
    text += strings[engine() % std::size(strings)];
    for (auto it = closers.rbegin(); it != closers.rend(); ++it)
        text += *it;
    return text;
}

TEST(JsonNesting, EveryReaderRefusesTheSameDepthAndNoneCrashes)
{
    std::mt19937 engine(22);
    const int limit = JsonValues::kMaxNesting;
    for (int round = 0; round < 400; ++round) {
        const int depth = round < 200 ? int(engine() % 300) : limit - 3 + int(engine() % 7);
        const std::string text = documentOfDepth(depth, engine);
        const QByteArray bytes = QByteArray::fromStdString(text);
        ASSERT_TRUE(Json::accept(text)) << text;
        const bool tooDeep = depth > limit;
        EXPECT_EQ(JsonValues::nestsDeeperThan(text), tooDeep) << depth;
        EXPECT_EQ(JsonValues::parseOrDiscard(text).is_discarded(), tooDeep) << depth;
        EXPECT_EQ(accepted(bytes), !tooDeep) << depth;
        bool parsed = true;
        try {
            JsonValues::parse(bytes);
        } catch (const CodingError&) {
            parsed = false;
        }
        EXPECT_EQ(parsed, !tooDeep) << depth;
    }
    // What killed the MCP server: a 60 KB line of brackets.
    const std::string hostile(60000, '[');
    EXPECT_TRUE(JsonValues::nestsDeeperThan(hostile));
    EXPECT_TRUE(JsonValues::parseOrDiscard(hostile).is_discarded());
    EXPECT_FALSE(accepted(QByteArray::fromStdString(hostile + std::string(60000, ']'))));
}

} // namespace nesting
