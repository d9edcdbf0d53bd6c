#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/any_codable.h"
#include "model/scheduled_post.h"
#include "model/social_account.h"
#include "support/manual_clock.h"
#include "support/quillo_process.h"
#include "support/temp_home.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

// An AI editor's view: the MCP binary and a headless instance sharing one QUILLO_HOME.
namespace {

class MCPToolsProcessTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        PreferenceStore preferences(m_home.paths());
        preferences.setValue(PreferenceKeys::MCPEnabled, true);
        preferences.setValue(PreferenceKeys::SocialPlatforms, QStringList{QStringLiteral("x"), QStringLiteral("bluesky")});
        SocialAccount x = SocialAccount::create(PlatformType::x, QStringLiteral("alice"), {}, kFixedTestTime);
        x.nickname = QStringLiteral("Work");
        x.isDefault = true;
        SocialAccount sky = SocialAccount::create(PlatformType::bluesky, QStringLiteral("alice.bsky.social"), {}, kFixedTestTime);
        sky.nickname = QStringLiteral("Work");
        sky.isDefault = true;
        preferences.setData(PreferenceKeys::SocialAccounts, SocialAccount::encodeList({x, sky}));
        startInstance();
        m_mcp.start({QStringLiteral("--mcp-stdio")});
    }

    void startInstance()
    {
        m_instance = std::make_unique<QuilloProcess>(m_home.path());
        m_instance->start({QStringLiteral("--headless")});
        const QDeadlineTimer deadline(10000);
        while (!QFileInfo::exists(m_home.paths().socketPath()) && !deadline.hasExpired())
            QThread::msleep(20);
        ASSERT_TRUE(QFileInfo::exists(m_home.paths().socketPath()));
    }

    void stopInstance()
    {
        m_instance->process().terminate();
        EXPECT_EQ(m_instance->waitForExit(), 0);
    }

    // One tools/call; the tool's text and error flag.
    std::pair<std::string, bool> call(const std::string& tool, const Json& arguments)
    {
        const Json request = {{"jsonrpc", "2.0"}, {"id", ++m_id}, {"method", "tools/call"}, {"params", {{"name", tool}, {"arguments", arguments}}}};
        m_mcp.writeLine(QByteArray::fromStdString(request.dump()));
        const auto line = m_mcp.readLine(30000);
        if (!line)
            return {"no reply", true};
        const Json reply = Json::parse(line->toStdString());
        EXPECT_EQ(reply["id"], m_id);
        const Json& result = reply["result"];
        return {result["content"][0]["text"].get<std::string>(), result["isError"].get<bool>()};
    }

    Json list(const Json& arguments)
    {
        const auto [text, isError] = call("scheduled_list", arguments);
        EXPECT_FALSE(isError) << text;
        return Json::parse(text);
    }

    TempHome m_home;
    std::unique_ptr<QuilloProcess> m_instance;
    QuilloProcess m_mcp{m_home.path()};
    int m_id = 0;
};

TEST_F(MCPToolsProcessTest, ScheduleListEditProtectPublishedAndDelete)
{
    auto [scheduled, failed] = call("schedule", {{"text", "Hello from the editor"}, {"status", "draft"}, {"platforms", {"x"}}});
    ASSERT_FALSE(failed) << scheduled;
    EXPECT_EQ(scheduled, "✅ Post scheduled silently in background (stealth mode)");
    call("schedule", {{"text", "Unrelated"}, {"status", "queued"}, {"date", "2030-01-15T10:30:00Z"}});

    Json found = list({{"textContains", "hello"}, {"status", "draft"}, {"platforms", {"x"}}});
    ASSERT_EQ(found.size(), 1u);
    const std::string id = found[0]["id"];
    EXPECT_EQ(list({{"dateFrom", "2030-01-15T00:00:00Z"}})[0]["scheduledDate"], "2030-01-15T10:30:00Z");

    const Json ops = Json::array({{{"op", "append"}, {"text", "Second post"}},
                                  {{"op", "shuffle"}},
                                  {{"op", "replace"}, {"index", 0}, {"text", "Hello again"}}});
    auto [edited, editFailed] = call("scheduled_edit", {{"id", id}, {"threadOps", ops}});
    ASSERT_FALSE(editFailed) << edited;
    found = list({{"ids", id}});
    ASSERT_EQ(found[0]["contentCount"], 2);
    EXPECT_EQ(found[0]["content"][0]["text"], "Hello again");
    EXPECT_EQ(found[0]["content"][1]["text"], "Second post");

    // The instance marks the post published; from then on it is read-only.
    stopInstance();
    {
        PreferenceStore preferences(m_home.paths());
        QList<ScheduledPost> posts = ScheduledPost::decodeList(*preferences.data(PreferenceKeys::ScheduledPosts));
        for (ScheduledPost& post : posts) {
            if (JsonValues::uuidText(post.id) == id)
                post.status = PostStatus::published;
        }
        preferences.setData(PreferenceKeys::ScheduledPosts, ScheduledPost::encodeList(posts, JsonLayout::compact));
    }
    startInstance();
    auto [refused, refusedIsError] = call("scheduled_edit", {{"id", id}, {"text", "Too late"}});
    EXPECT_TRUE(refusedIsError);
    EXPECT_EQ(refused, "Cannot edit a published post (ID: " + id + "). Published posts are read-only.");
    EXPECT_EQ(list({{"ids", id}})[0]["content"][0]["text"], "Hello again");

    auto [deleted, deleteFailed] = call("scheduled_delete", {{"id", id}});
    EXPECT_FALSE(deleteFailed) << deleted;
    EXPECT_TRUE(list({{"ids", id}}).empty());
    auto [missing, missingIsError] = call("scheduled_delete", {{"id", id}});
    EXPECT_TRUE(missingIsError) << missing;

    auto [ambiguous, ambiguousIsError] = call("accounts_setDefault", {{"nickname", "Work"}});
    EXPECT_TRUE(ambiguousIsError);
    EXPECT_EQ(ambiguous, "Multiple accounts match. Provide platform to disambiguate.");

    m_mcp.closeInput();
    EXPECT_EQ(m_mcp.waitForExit(), 0);
    stopInstance();
}

} // namespace
