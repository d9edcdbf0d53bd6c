#include "app/launch_options.h"
#include "support/temp_home.h"

#include <QFile>
#include <QUrl>
#include <QUrlQuery>

#include <gtest/gtest.h>

namespace {

QProcessEnvironment env(std::initializer_list<std::pair<const char*, const char*>> values, bool display = true)
{
    QProcessEnvironment environment;
    if (display)
        environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":0"));
    for (const auto& [name, value] : values)
        environment.insert(QString::fromLatin1(name), QString::fromLatin1(value));
    return environment;
}

QStringList args(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* item : list)
        result.append(QString::fromLatin1(item));
    return result;
}

struct ModeCase {
    const char* name;
    QStringList arguments;
    QProcessEnvironment environment;
    RunMode mode;
    bool debug;
};

TEST(LaunchOptions, SwitchesCountOnlyInTheirExactForm)
{
    const std::vector<ModeCase> cases = {
        {"argument", args({"--mcp-stdio"}), env({}), RunMode::mcpStdio, false},
        {"variable one", {}, env({{"QUILLO_MCP_STDIO", "1"}}), RunMode::mcpStdio, false},
        {"variable true is off", {}, env({{"QUILLO_MCP_STDIO", "true"}}), RunMode::desktop, false},
        {"variable with space is off", {}, env({{"QUILLO_MCP_STDIO", "1 "}}), RunMode::desktop, false},
        {"argument must be whole", args({"--mcp-stdio=1"}), env({}), RunMode::desktop, false},
        {"debug by argument", args({"--mcp-stdio", "--mcp-debug"}), env({}), RunMode::mcpStdio, true},
        {"debug by variable", args({"--mcp-stdio"}), env({{"QUILLO_MCP_DEBUG", "1"}}), RunMode::mcpStdio, true},
        {"debug variable other value", args({"--mcp-stdio"}), env({{"QUILLO_MCP_DEBUG", "yes"}}), RunMode::mcpStdio, false},
        {"debug alone stays desktop", args({"--mcp-debug"}), env({}), RunMode::desktop, true},
        {"mcp wins over urls", args({"--mcp-stdio", "quillo://open"}), env({}), RunMode::mcpStdio, false},
        {"urls forward", args({"quillo://open"}), env({}), RunMode::forwarder, false},
        {"headless flag", args({"--headless"}), env({}), RunMode::headless, false},
        {"no display", {}, env({}, false), RunMode::headless, false},
        {"wayland display", {}, env({{"WAYLAND_DISPLAY", "wayland-0"}}, false), RunMode::desktop, false},
        {"count first", args({"count", "--network", "x"}), env({{"QUILLO_MCP_STDIO", "1"}}), RunMode::text, false},
        {"split first", args({"split"}), env({}), RunMode::text, false},
        {"a text command only as the first argument", args({"--headless", "count"}), env({}), RunMode::headless, false},
    };
    for (const ModeCase& c : cases) {
        const LaunchOptions options = LaunchOptions::parse(c.arguments, c.environment);
        EXPECT_EQ(options.mode, c.mode) << c.name;
        EXPECT_EQ(options.mcpDebug, c.debug) << c.name;
    }
}

TEST(LaunchOptions, UiTestVariablesOnlyNeedToBePresent)
{
    const LaunchOptions options = LaunchOptions::parse({}, env({{"QUILLO_UI_TEST_MODE", ""}, {"QUILLO_UI_TEST_RESET_STATE", "0"}}));
    EXPECT_TRUE(options.uiTestMode);
    EXPECT_TRUE(options.uiTestResetState);
    EXPECT_FALSE(LaunchOptions::parse({}, env({})).uiTestMode);
}

TEST(LaunchOptions, ForwarderKeepsEveryUrlInOrder)
{
    const LaunchOptions options = LaunchOptions::parse(args({"quillo://a", "--x", "QUILLO://b"}), env({}));
    EXPECT_EQ(options.urls, args({"quillo://a", "QUILLO://b"}));
}

// "Open with Quillo": files from a file manager become one compose command with them attached.
TEST(LaunchOptions, FilesBecomeAComposeCommandWithThemAttached)
{
    TempHome home;
    const QString photo = home.path() + QStringLiteral("/beach, sunset.png");
    const QString clip = home.path() + QStringLiteral("/clip.mp4");
    QFile(photo).open(QIODevice::WriteOnly);
    QFile(clip).open(QIODevice::WriteOnly);
    const LaunchOptions options = LaunchOptions::parse(
        {photo, QUrl::fromLocalFile(clip).toString(), home.path() + QStringLiteral("/gone.png"), QStringLiteral("--headless")}, env({}));
    EXPECT_EQ(options.mode, RunMode::forwarder);
    ASSERT_EQ(options.urls.size(), 1);
    const QUrl url(options.urls.first());
    EXPECT_EQ(url.host(), QStringLiteral("compose"));
    EXPECT_EQ(QUrlQuery(url).queryItemValue(QStringLiteral("media"), QUrl::FullyDecoded),
              QStringLiteral("[\"%1\",\"%2\"]").arg(photo, clip))
        << "the comma in a name survives, a missing file is left out";

    EXPECT_EQ(LaunchOptions::parse({home.path()}, env({})).mode, RunMode::desktop) << "a folder is not media";
}

} // namespace
