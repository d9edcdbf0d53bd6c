#include "core/preference_store.h"
#include "mcp/editor_config_installer.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

class EditorConfigInstallerTest : public ::testing::Test {
protected:
    QString userHome() const { return m_home.path() + QStringLiteral("/user"); }
    QString writeFile(const QString& relative, const QByteArray& content)
    {
        const QString path = userHome() + u'/' + relative;
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }
    static QByteArray read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static Json readJson(const QString& path) { return Json::parse(read(path).toStdString()); }
    const MCPEditor& editor(const char* name) { return *MCPEditor::find(QString::fromLatin1(name)); }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    // Backups are named in local time.
    ManualClock m_clock{Timestamp::fromDateTime(QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7)))};
    EditorConfigInstaller m_installer{m_preferences, QStringLiteral("/opt/quillo/bin/quillo"), userHome(), m_clock};
};

TEST_F(EditorConfigInstallerTest, MergesIntoACommentedZedFileTwiceKeepingEverythingElse)
{
    const QString path = writeFile(QStringLiteral(".config/zed/settings.json"),
                                   "// Zed settings\n{\n  // the theme\n  \"theme\": \"One Dark\",\n"
                                   "  /* servers\n     below */\n  \"context_servers\": {\"other\": {\"command\": \"x\"}},\n"
                                   "  \"vim_mode\": true\n}\n");
    const QByteArray original = read(path);

    const EditorInstallResult first = m_installer.install(editor("zed"));
    ASSERT_TRUE(first.ok) << first.message.toStdString();
    EXPECT_EQ(first.status, QStringLiteral("found_existing"));
    EXPECT_EQ(first.message, QStringLiteral("Updated existing config at ") + path);
    EXPECT_EQ(first.backupPath, path + QStringLiteral(".quillo-2026-03-04T05-06-07.bak"));
    EXPECT_EQ(read(first.backupPath), original);

    const EditorInstallResult second = m_installer.install(editor("editor-zed"));
    ASSERT_TRUE(second.ok);
    EXPECT_NE(second.backupPath, first.backupPath) << "every install keeps its own backup";

    const Json merged = readJson(path);
    EXPECT_EQ(merged["theme"], "One Dark");
    EXPECT_EQ(merged["vim_mode"], true);
    EXPECT_EQ(merged["context_servers"].size(), 2u);
    EXPECT_EQ(merged["context_servers"]["other"]["command"], "x");
    EXPECT_EQ(merged["context_servers"]["quillo"],
              Json({{"source", "custom"}, {"command", "/opt/quillo/bin/quillo"}, {"args", {"--mcp-stdio"}}, {"env", Json::object()}}));
}

// Settings written as people write them: comments between any two tokens, trailing
// commas, and strings that look like comments. Every value outside the server entry
// comes back exactly as it was.
TEST_F(EditorConfigInstallerTest, CommentsAndTrailingCommasNeverChangeTheUsersValues)
{
    const std::vector<std::string> strings = {"src/**/*.tmp", "// not a comment", "/* nor this */", "a,]", "*/", "\\\"//",
                                              "http://example.com/x", "'", "", "tab\there"};
    const std::vector<std::string> comments = {"// note\n", "/* block */", "/* multi\n line */", "// \"quoted\" // twice\n"};
    std::mt19937 engine(4522);
    const auto pick = [&engine](const auto& list) { return list[engine() % list.size()]; };
    for (int round = 0; round < 60; ++round) {
        Json expected = Json::object();
        std::string text = pick(comments) + "{";
        const int keys = 1 + int(engine() % 5);
        for (int k = 0; k < keys; ++k) {
            const std::string key = "key" + std::to_string(k);
            Json array = Json::array();
            std::string arrayText = "[";
            const int items = int(engine() % 4);
            for (int i = 0; i < items; ++i) {
                array.push_back(pick(strings));
                arrayText += Json(array.back()).dump() + (engine() % 2 ? " " + pick(comments) : std::string()) + ",";
            }
            if (items > 0 && engine() % 2 == 0)
                arrayText.pop_back(); // no trailing comma this time
            arrayText += "]";
            expected[key] = array;
            text += "\n  " + pick(comments) + Json(key).dump() + ": " + arrayText + (k + 1 < keys || engine() % 2 ? "," : "");
        }
        text += "\n" + pick(comments) + "}\n";

        const QString path = writeFile(QStringLiteral(".config/zed/settings.json"), QByteArray::fromStdString(text));
        const EditorInstallResult result = m_installer.install(editor("zed"));
        ASSERT_TRUE(result.ok) << result.message.toStdString() << "\n" << text;
        Json merged = readJson(path);
        ASSERT_TRUE(merged.contains("context_servers")) << text;
        merged.erase("context_servers");
        EXPECT_EQ(merged, expected) << text;
    }
}

TEST_F(EditorConfigInstallerTest, LeavesAnUnreadableFileUntouchedWithItsBackup)
{
    const QByteArray broken = "{ \"mcpServers\": { \"a\": 1 }, trailing garbage";
    const QString path = writeFile(QStringLiteral(".cursor/mcp.json"), broken);
    const EditorInstallResult result = m_installer.install(editor("Cursor"));
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.message.contains(QStringLiteral("left unchanged"))) << result.message.toStdString();
    EXPECT_EQ(read(path), broken);
    EXPECT_EQ(read(result.backupPath), broken);

    writeFile(QStringLiteral(".cursor/mcp.json"), R"({"mcpServers": ["not", "an", "object"]})");
    EXPECT_FALSE(m_installer.install(editor("cursor")).ok);
}

TEST_F(EditorConfigInstallerTest, CreatesMissingFilesAndRemembersChosenOnes)
{
    const EditorInstallResult created = m_installer.install(editor("opencode"));
    ASSERT_TRUE(created.ok);
    EXPECT_EQ(created.message, QStringLiteral("Saved MCP config at ") + userHome() + QStringLiteral("/.config/opencode/opencode.json"));
    const Json openCode = readJson(created.path);
    EXPECT_EQ(openCode.begin().key(), "$schema");
    EXPECT_EQ(openCode["mcp"]["quillo"]["command"], Json({"/opt/quillo/bin/quillo", "--mcp-stdio"}));

    // A project folder the editor reads is accepted and remembered; a stray place is not.
    const QString project = m_home.path() + QStringLiteral("/project/.cursor");
    QDir().mkpath(project);
    const EditorInstallResult chosen = m_installer.install(editor("cursor"), project);
    ASSERT_TRUE(chosen.ok);
    EXPECT_EQ(chosen.status, QStringLiteral("user_selected"));
    EXPECT_EQ(m_installer.install(editor("cursor")).status, QStringLiteral("bookmark"));

    QFile::remove(chosen.path);
    EXPECT_EQ(m_installer.install(editor("cursor")).status, QStringLiteral("user_selected"));
    EXPECT_FALSE(m_preferences.contains(EditorConfigInstaller::bookmarkKey(editor("cursor")))) << "stale file forgotten";

    const EditorInstallResult stray = m_installer.install(editor("windsurf"), m_home.path() + QStringLiteral("/elsewhere.json"));
    EXPECT_EQ(stray.status, QStringLiteral("invalid_location"));
    EXPECT_TRUE(stray.message.startsWith(QStringLiteral("Please save your MCP config inside:\n")));
}

} // namespace
