#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/mcp_command_sender.h"
#include "mcp/mcp_log.h"
#include "mcp/mcp_state_reader.h"
#include "mcp/mcp_tool_handlers.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QUrlQuery>

#include <gtest/gtest.h>

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
    EXPECT_EQ(m_sender.query("platforms"), QStringLiteral("x,bluesky"));
    EXPECT_EQ(m_sender.query("xAccounts"), QStringLiteral("@me,Work"));
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

TEST_F(MCPToolHandlersTest, ArgumentsOfTheWrongTypeAreNamedAndNothingIsSent)
{
    const std::vector<std::tuple<std::string, std::string, Json>> cases = {
        {"schedule", "date", {{"date", 20250115}}},
        {"schedule", "platforms", {{"platforms", {{"x", true}}}}},
        {"scheduled_list", "limit", {{"limit", "10"}}},
        {"scheduled_list", "status", {{"status", 3}}},
        {"scheduled_edit", "accounts", {{"id", "A"}, {"accounts", 5}}},
        {"settings_platform", "set-enabled", {{"platform", "x"}, {"set-enabled", "yes"}}},
    };
    for (const auto& [tool, key, arguments] : cases) {
        const MCPToolResult result = call(tool, arguments);
        EXPECT_TRUE(result.isError) << tool << arguments;
        EXPECT_NE(result.text.find("Invalid argument '" + key + "'"), std::string::npos) << result.text;
    }
    EXPECT_TRUE(m_sender.urls.isEmpty());
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
    EXPECT_EQ(m_sender.urls.last().toString(), QStringLiteral("quillo://accounts?action=add&platform=x"));
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

    m_sender.answer = {false, "Account not found"};
    EXPECT_EQ(call("accounts_remove", {{"id", JsonValues::uuidText(xWork.id)}}).text, "Failed to remove account (Account not found)");
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
    for (int i = 0; i < 600; ++i)
        posts.append(scheduled("filler", 1000 + i, PostStatus::published, {QStringLiteral("x")}));
    store(posts);

    const Json launches = callJson("scheduled_list", {{"textContains", "LAUNCH"}, {"sortOrder", "desc"}});
    ASSERT_EQ(launches.size(), 2u);
    EXPECT_EQ(launches[0]["content"][0]["text"], "Launch day");
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
    m_preferences.setData(PreferenceKeys::ScheduledPosts, QByteArrayLiteral("{not json"));
    const MCPToolResult result = call("scheduled_list");
    EXPECT_TRUE(result.isError);
    EXPECT_NE(result.text.find("could not be read"), std::string::npos) << result.text;
    EXPECT_EQ(m_preferences.data(PreferenceKeys::ScheduledPosts), QByteArrayLiteral("{not json")) << "left as it was";
}

} // namespace
