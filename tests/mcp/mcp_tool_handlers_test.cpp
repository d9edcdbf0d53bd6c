#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_handlers.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QUrlQuery>

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

// Stands in for the running instance: records each command, answers as told.
class RecordingSender : public MCPCommandSender {
public:
    Outcome send(const QUrl& url) override
    {
        urls.append(url);
        return answer;
    }
    QString query(const char* key) const
    {
        return QUrlQuery(urls.last()).queryItemValue(QString::fromLatin1(key), QUrl::FullyDecoded);
    }
    QList<QUrl> urls;
    Outcome answer{true, {}};
};

SocialAccount account(PlatformType platform, const char* name, const char* nickname, bool isDefault = false)
{
    SocialAccount made = SocialAccount::create(platform, QString::fromLatin1(name),
                                               {{QStringLiteral("accessToken"), QStringLiteral("SECRET-TOKEN")},
                                                {QStringLiteral("appPassword"), QStringLiteral("SECRET-PASSWORD")}},
                                               kFixedTestTime);
    if (nickname)
        made.nickname = QString::fromLatin1(nickname);
    made.isDefault = isDefault;
    return made;
}

ScheduledPost scheduled(const char* text, double referenceSeconds, PostStatus status, QStringList platforms)
{
    ScheduledPost post;
    post.id = QUuid::createUuid();
    post.content = {Post::create(QString::fromUtf8(text))};
    post.scheduledDate = Timestamp::fromReferenceSeconds(referenceSeconds);
    post.timeZoneIdentifier = QStringLiteral("Europe/Berlin");
    post.platforms = std::move(platforms);
    post.status = status;
    return post;
}

class MCPToolHandlersTest : public ::testing::Test {
protected:
    MCPToolResult call(const std::string& tool, const Json& arguments = Json::object()) { return m_handlers.callTool(tool, arguments); }
    Json callJson(const std::string& tool, const Json& arguments = Json::object())
    {
        const MCPToolResult result = call(tool, arguments);
        EXPECT_FALSE(result.isError) << result.text;
        return Json::parse(result.text);
    }
    void store(const QList<SocialAccount>& accounts) { m_preferences.setData(PreferenceKeys::SocialAccounts, SocialAccount::encodeList(accounts)); }
    void store(const QList<ScheduledPost>& posts)
    {
        m_preferences.setData(PreferenceKeys::ScheduledPosts, ScheduledPost::encodeList(posts, JsonLayout::compact));
    }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    MCPStateReader m_state{m_preferences};
    RecordingSender m_sender;
    MCPLog m_log{false};
    ManualClock m_clock;
    MCPToolHandlers m_handlers{m_state, m_sender, m_log, m_clock};
};

TEST_F(MCPToolHandlersTest, CatalogueListsSixteenDescribedToolsInOrder)
{
    const std::vector<std::string> expected = {"compose", "schedule", "calendar_open", "settings_open", "settings_platform",
                                               "settings_list_platforms", "open", "license_open", "accounts_list", "accounts_add",
                                               "accounts_remove", "accounts_edit", "accounts_setDefault", "scheduled_list",
                                               "scheduled_edit", "scheduled_delete"};
    ASSERT_EQ(m_handlers.tools().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        const MCPTool& tool = m_handlers.tools()[i];
        EXPECT_EQ(tool.name, expected[i]);
        EXPECT_EQ(tool.inputSchema["type"], "object") << tool.name;
        for (const auto& [name, property] : tool.inputSchema["properties"].items())
            EXPECT_FALSE(property.value("description", "").empty()) << tool.name << "." << name;
    }
}

TEST_F(MCPToolHandlersTest, ScheduleBuildsAStealthCommandAndReportsTheInstancesAnswer)
{
    const MCPToolResult done = call("schedule", {{"text", "a+b & c"}, {"platforms", {"x", "bluesky"}}, {"status", "queued"},
                                                 {"xAccounts", {"@me", "Work"}}, {"thread", true}, {"unknownKey", 1}});
    EXPECT_EQ(done.text, "✅ Post scheduled silently in background (stealth mode)");
    ASSERT_EQ(m_sender.urls.size(), 1);
    EXPECT_EQ(m_sender.urls.last().host(), QStringLiteral("schedule"));
    EXPECT_EQ(m_sender.query("text"), QStringLiteral("a+b & c"));
    // Lists go as JSON arrays, so an item may hold a comma.
    EXPECT_EQ(m_sender.query("platforms"), QStringLiteral(R"(["x","bluesky"])"));
    EXPECT_EQ(m_sender.query("xAccounts"), QStringLiteral(R"(["@me","Work"])"));
    EXPECT_EQ(m_sender.query("thread"), QStringLiteral("true"));
    EXPECT_EQ(m_sender.query("stealthMode"), QStringLiteral("true"));
    EXPECT_FALSE(QUrlQuery(m_sender.urls.last()).hasQueryItem(QStringLiteral("unknownKey")));

    EXPECT_EQ(call("schedule", {{"text", "x"}, {"stealthMode", false}}).text, "Opened scheduler with provided details");
    EXPECT_FALSE(QUrlQuery(m_sender.urls.last()).hasQueryItem(QStringLiteral("stealthMode")));

    const MCPToolResult published = call("schedule", {{"text", "x"}, {"status", "published"}});
    EXPECT_TRUE(published.isError);
    EXPECT_EQ(published.text, "Invalid status: must be 'draft' or 'queued'");
    EXPECT_EQ(m_sender.urls.size(), 2) << "nothing was sent for a bad status";

    m_sender.answer = {false, "Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)"};
    const MCPToolResult refused = call("schedule", {{"text", "x"}, {"date", "tomorrow-ish"}});
    EXPECT_TRUE(refused.isError);
    EXPECT_EQ(refused.text, m_sender.answer.message);
}

// Every argument of every tool, given a value of each JSON type its schema does not
// allow: refused before anything is sent, in the tool's own words first.
TEST_F(MCPToolHandlersTest, ArgumentsOfTheWrongTypeAreNamedAndNothingIsSent)
{
    const std::map<std::string, std::string> prefixes = {{"compose", "Invalid compose params: "},
                                                         {"schedule", "Invalid schedule params: "},
                                                         {"scheduled_edit", "Invalid edit params: "},
                                                         {"scheduled_delete", "Invalid delete params: "}};
    const std::vector<Json> samples = {Json("text"), Json(true), Json(7), Json(1.5), Json::array({"a"}),
                                       Json::array({Json::object()}), Json::object({{"k", "v"}})};
    int refusals = 0;
    for (const MCPTool& tool : m_handlers.tools()) {
        const Json properties = tool.inputSchema.value("properties", Json::object());
        for (const auto& [key, schema] : properties.items()) {
            for (const Json& sample : samples) {
                Json arguments = {{"id", "A"}, {"platform", "x"}, {"set-enabled", true}};
                arguments[key] = sample;
                const qsizetype sent = m_sender.urls.size();
                const MCPToolResult result = call(tool.name, arguments);
                if (result.text.find("'" + key + "' must be") == std::string::npos)
                    continue; // a value the schema allows
                ++refusals;
                EXPECT_TRUE(result.isError) << tool.name << arguments;
                EXPECT_EQ(m_sender.urls.size(), sent) << tool.name << arguments;
                const auto prefix = prefixes.find(tool.name);
                if (prefix != prefixes.end()) {
                    EXPECT_EQ(result.text.rfind(prefix->second, 0), 0u) << result.text;
                } else if (tool.name == "settings_platform" && key == "set-enabled") {
                    EXPECT_EQ(result.text.rfind("Missing 'set-enabled' parameter (must be true or false)", 0), 0u) << result.text;
                }
            }
        }
    }
    EXPECT_GT(refusals, 100);
    EXPECT_EQ(call("schedule", {{"thread", "yes"}}).text, "Invalid schedule params: 'thread' must be a boolean, not a string");
}

TEST_F(MCPToolHandlersTest, ScheduledEditCarriesStructuredValuesAsCompactJson)
{
    EXPECT_EQ(call("scheduled_edit", {{"text", "x"}}).text, "Missing required parameter: id");
    const Json ops = Json::array({{{"op", "append"}, {"text", "New, post"}}, {{"op", "delete"}, {"index", 0}}});
    const MCPToolResult result = call("scheduled_edit", {{"id", "ABC"}, {"threadOps", ops}, {"accounts", {{"x", {"@me"}}}}});
    EXPECT_EQ(result.text, "✅ Scheduled post updated silently in background (stealth mode)");
    EXPECT_EQ(m_sender.query("action"), QStringLiteral("edit"));
    EXPECT_EQ(m_sender.query("threadOps").toStdString(), ops.dump());
    EXPECT_EQ(m_sender.query("accounts"), QStringLiteral(R"({"x":["@me"]})"));
    call("scheduled_edit", {{"id", "ABC"}, {"accounts", "all"}});
    EXPECT_EQ(m_sender.query("accounts"), QStringLiteral("all"));

    EXPECT_EQ(call("scheduled_delete", {{"id", "ABC"}}).text, "✅ Scheduled post deleted silently (stealth mode)");
    EXPECT_EQ(m_sender.urls.last().toString(), QStringLiteral("quillo://scheduled?action=delete&id=ABC&stealthMode=true"));
}

TEST_F(MCPToolHandlersTest, SettingsAndAccountAddValidateBeforeSending)
{
    EXPECT_EQ(call("settings_platform", {{"platform", "myspace"}, {"set-enabled", true}}).text,
              "Invalid or missing platform. Must be 'x', 'bluesky', or 'mastodon'");
    EXPECT_EQ(call("settings_platform", {{"platform", "x"}}).text, "Missing 'set-enabled' parameter (must be true or false)");
    EXPECT_EQ(call("settings_platform", {{"platform", "x"}, {"set-enabled", false}}).text, "Updated platform settings");
    EXPECT_EQ(m_sender.urls.last().toString(), QStringLiteral("quillo://settings?platform=x&set-enabled=false"));

    EXPECT_EQ(call("accounts_add", {{"platform", "mastodon"}}).text, "Triggered account add flow");
    EXPECT_EQ(m_sender.urls.last().toString(),
              QStringLiteral("quillo://accounts?action=add&platform=mastodon&instance=mastodon.social&autoConnect=true"));
    call("accounts_add", {{"platform", "x"}, {"instance", "ignored"}, {"autoConnect", false}});
    EXPECT_EQ(m_sender.urls.last().toString(), QStringLiteral("quillo://accounts?action=add&platform=x&autoConnect=false"));
    EXPECT_EQ(call("settings_open").text, "Opened settings");
    EXPECT_EQ(m_sender.query("section"), QStringLiteral("general"));
}

TEST_F(MCPToolHandlersTest, AccountLookupsExplainWhatToFix)
{
    EXPECT_EQ(call("accounts_remove", {{"nickname", "Work"}}).text, "No accounts available");
    const SocialAccount xWork = account(PlatformType::x, "alice", "Work", true);
    const SocialAccount skyWork = account(PlatformType::bluesky, "alice.bsky.social", "Work");
    store(QList<SocialAccount>{xWork, skyWork});

    EXPECT_EQ(call("accounts_remove", {{"nickname", "Work"}}).text, "Multiple accounts match. Provide platform to disambiguate.");
    EXPECT_EQ(call("accounts_remove", {{"platform", "twitter"}, {"nickname", "Work"}}).text,
              "Invalid platform. Must be 'x', 'bluesky', or 'mastodon'");
    EXPECT_EQ(call("accounts_remove", {{"platform", "x"}}).text, "Missing account identifier (id, name, or nickname)");
    EXPECT_EQ(call("accounts_remove", {{"name", "bob"}}).text, "Account not found");
    EXPECT_EQ(call("accounts_edit", {{"name", "@alice"}}).text, "No updates provided (setNickname or setEnabled)");
    EXPECT_EQ(call("accounts_setDefault", {{"platform", "mastodon"}, {"name", "x"}}).text, "No accounts found for platform: mastodon");
    EXPECT_EQ(call("accounts_setDefault", {{"platform", "x"}, {"name", "bob"}}).text, "Account not found for platform: x");
    EXPECT_TRUE(m_sender.urls.isEmpty());

    EXPECT_EQ(call("accounts_remove", {{"platform", "bluesky"}, {"nickname", "work"}}).text, "Removed account @alice.bsky.social");
    EXPECT_EQ(m_sender.query("id").toStdString(), JsonValues::uuidText(skyWork.id));
    EXPECT_EQ(call("accounts_edit", {{"name", "@alice"}, {"setEnabled", false}}).text, "Updated account @alice");
    EXPECT_EQ(m_sender.query("set-enabled"), QStringLiteral("false"));

    // The instance's reasons stay in the log; the caller gets the fixed words.
    m_sender.answer = {false, "Account not found"};
    EXPECT_EQ(call("accounts_remove", {{"id", JsonValues::uuidText(xWork.id)}}).text, "Account not found in storage");
    EXPECT_EQ(call("accounts_edit", {{"name", "@alice"}, {"setEnabled", true}}).text, "Account not found in storage");
    EXPECT_EQ(call("accounts_setDefault", {{"platform", "x"}, {"name", "alice"}}).text, "Account not found in storage");
    m_sender.answer = {false, "The file could not be written"};
    EXPECT_EQ(call("accounts_remove", {{"id", JsonValues::uuidText(xWork.id)}}).text, "Failed to remove account");

    // autoConnect reaches the instance whichever way it is set.
    for (const bool autoConnect : {false, true}) {
        call("accounts_add", {{"platform", "bluesky"}, {"autoConnect", autoConnect}});
        EXPECT_EQ(m_sender.query("autoConnect"), autoConnect ? QStringLiteral("true") : QStringLiteral("false"));
    }
    call("accounts_add", {{"platform", "bluesky"}});
    EXPECT_EQ(m_sender.query("autoConnect"), QStringLiteral("true"));
}

TEST_F(MCPToolHandlersTest, NoSecretLeavesThroughListsOrResources)
{
    store(QList<SocialAccount>{account(PlatformType::mastodon, "me@example.social", nullptr, true)});
    const MCPToolResult listed = call("accounts_list");
    const std::string resource = m_handlers.resourceContent("quillo:///accounts").dump();
    for (const std::string& text : {listed.text, resource}) {
        EXPECT_EQ(text.find("SECRET"), std::string::npos) << text;
        EXPECT_NE(text.find("me@example.social"), std::string::npos);
    }
    const Json entry = Json::parse(listed.text)[0];
    EXPECT_EQ(entry["platform"], "mastodon");
    EXPECT_EQ(entry["isDefault"], true);
    EXPECT_EQ(entry["enabled"], true);
}

TEST_F(MCPToolHandlersTest, ScheduledListFiltersSortsAndPages)
{
    QList<ScheduledPost> posts;
    posts.append(scheduled("Launch day", 300, PostStatus::queued, {QStringLiteral("x")}));
    posts.append(scheduled("launch recap", 100, PostStatus::draft, {QStringLiteral("bluesky"), QStringLiteral("mastodon")}));
    posts.append(scheduled("Other", 200, PostStatus::failed, {QStringLiteral("mastodon")}));
    posts[2].error = QStringLiteral("Rate limited");
    // An error left from an earlier attempt of a post queued again is not shown.
    posts[0].error = QStringLiteral("Old failure");
    for (int i = 0; i < 600; ++i)
        posts.append(scheduled("filler", 1000 + i, PostStatus::published, {QStringLiteral("x")}));
    store(posts);

    const Json launches = callJson("scheduled_list", {{"textContains", "LAUNCH"}, {"sortOrder", "desc"}});
    ASSERT_EQ(launches.size(), 2u);
    EXPECT_EQ(launches[0]["content"][0]["text"], "Launch day");
    EXPECT_FALSE(launches[0].contains("error"));
    EXPECT_FALSE(callJson("scheduled_list", {{"status", "failed"}, {"includeError", false}})[0].contains("error"));
    EXPECT_EQ(launches[1]["scheduledDate"], "2001-01-01T00:01:40Z");

    const Json failed = callJson("scheduled_list", {{"status", "failed"}, {"includeContent", false}});
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0]["error"], "Rate limited");
    EXPECT_FALSE(failed[0].contains("content"));
    EXPECT_EQ(callJson("scheduled_list", {{"status", {"draft", "failed"}}, {"platforms", {"mastodon"}}}).size(), 2u);
    EXPECT_EQ(callJson("scheduled_list", {{"dateFrom", "2001-01-01T00:01:40Z"}, {"dateTo", "2001-01-01T00:04:00Z"}}).size(), 2u);

    EXPECT_EQ(callJson("scheduled_list").size(), 50u);
    EXPECT_EQ(callJson("scheduled_list", {{"limit", 1000}}).size(), 500u);
    EXPECT_TRUE(callJson("scheduled_list", {{"offset", 5000}}).empty());
    EXPECT_EQ(callJson("scheduled_list", {{"sortBy", "status"}, {"limit", 1}})[0]["status"], "draft");

    EXPECT_TRUE(call("scheduled_list", {{"sortBy", "mood"}}).isError);
    EXPECT_TRUE(call("scheduled_list", {{"dateFrom", "last week"}}).isError);
    EXPECT_EQ(m_handlers.resourceContent("quillo:///scheduled").size(), 603u);
}

TEST_F(MCPToolHandlersTest, DamagedStoredStateIsAToolErrorNotACrash)
{
    m_preferences.setValue(PreferenceKeys::MCPEnabled, true);
    MCPServer server(m_preferences, m_handlers);
    const struct {
        QLatin1String key;
        const char* tool;
        const char* uri;
    } documents[] = {{PreferenceKeys::ScheduledPosts, "scheduled_list", "quillo:///scheduled"},
                     {PreferenceKeys::SocialAccounts, "accounts_list", "quillo:///accounts"}};
    const QByteArray damaged[] = {QByteArrayLiteral("{not json"), QByteArray(5000, '['), QByteArrayLiteral("[{\"id\":1}]")};
    for (const auto& document : documents) {
        for (const QByteArray& bytes : damaged) {
            m_preferences.setData(document.key, bytes);
            const MCPToolResult result = call(document.tool);
            EXPECT_TRUE(result.isError);
            EXPECT_NE(result.text.find("could not be read"), std::string::npos) << result.text;
            // The resource answers with the same plain words, not as an internal error.
            const Json request = {{"jsonrpc", "2.0"}, {"id", 1}, {"method", "resources/read"}, {"params", {{"uri", document.uri}}}};
            const Json answer = Json::parse(server.handle(request.dump())->bytes);
            EXPECT_EQ(answer["error"]["code"], -32000) << answer.dump();
            EXPECT_EQ(answer["error"]["message"], result.text);
            EXPECT_EQ(m_preferences.data(document.key), bytes) << "left as it was";
        }
        m_preferences.removeData(document.key);
    }
}

} // namespace

namespace quoting {

// Names and paths with every quote people type and with commas: the command side reads
// lists and selections as JSON, and turns typed quotes into JSON's only in text that is
// not JSON. So what is sent must be JSON holding no quote character but JSON's own.
TEST_F(MCPToolHandlersTest, NamesAndPathsWithQuotesAndCommasArriveAsSent)
{
    const std::vector<std::string> pieces = {"Ada", "'s", " sky", ",", "\xE2\x80\x99", "\xE2\x80\x9C", "\xE2\x80\x9D",
                                             "`", "\xC2\xB4", "[x]", "\\", "\"", "/tmp/a", ".png"};
    std::mt19937 engine(9);
    const auto name = [&] {
        std::string text;
        for (int i = 1 + int(engine() % 4); i > 0; --i)
            text += pieces[engine() % pieces.size()];
        return text;
    };
    const auto noTypedQuotes = [](const QString& text) {
        for (const QChar quote : {QChar(u'\''), QChar(u'\u2018'), QChar(u'\u2019'), QChar(u'\u201C'), QChar(u'\u201D'),
                                  QChar(u'\u00B4'), QChar(u'`')}) {
            if (text.contains(quote))
                return false;
        }
        return true;
    };
    for (int round = 0; round < 200; ++round) {
        const Json names = {name(), name()};
        const Json media = {name()};
        const Json selection = {{"bluesky", {name()}}};
        ASSERT_FALSE(call("schedule", {{"text", "hi"}, {"blueskyAccounts", names}, {"media", media}}).isError);
        for (const auto& [key, expected] : {std::pair{"blueskyAccounts", names}, std::pair{"media", media}}) {
            const QString sent = m_sender.query(key);
            EXPECT_TRUE(noTypedQuotes(sent)) << sent.toStdString();
            EXPECT_EQ(Json::parse(sent.toStdString()), expected);
        }
        ASSERT_FALSE(call("scheduled_edit", {{"id", "A"}, {"accounts", selection}}).isError);
        const QString sent = m_sender.query("accounts");
        EXPECT_TRUE(noTypedQuotes(sent)) << sent.toStdString();
        EXPECT_EQ(Json::parse(sent.toStdString()), selection);
    }
}

} // namespace quoting
