// `quillo config …` and the backup commands, with and without a running instance.
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

struct Result {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Result quillo(const QString& home, const QStringList& arguments)
{
    QuilloProcess process(home);
    process.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    process.start(arguments);
    Result result;
    result.exitCode = process.waitForExit(30000).value_or(-1);
    result.out = process.allStdout();
    result.err = process.allStderr();
    return result;
}

TEST(AdminCommandLine, ConfigWithoutAnInstanceIsTypedByTheKeyTable)
{
    TempHome home;
    const QString path = home.path();
    Result set = quillo(path, {QStringLiteral("config"), QStringLiteral("set"), QStringLiteral("MCP.Enabled"), QStringLiteral("true")});
    EXPECT_EQ(set.exitCode, 0) << set.err.constData();
    EXPECT_EQ(PreferenceStore(home.paths()).boolValue(PreferenceKeys::MCPEnabled), true);
    EXPECT_EQ(quillo(path, {QStringLiteral("config"), QStringLiteral("get"), QStringLiteral("MCP.Enabled")}).out, "true\n");

    const Result refused = quillo(path, {QStringLiteral("config"), QStringLiteral("set"), QStringLiteral("MCP.Enabled"), QStringLiteral("no")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.contains("MCP.Enabled takes true or false, not 'no'")) << refused.err.constData();
    EXPECT_EQ(PreferenceStore(home.paths()).boolValue(PreferenceKeys::MCPEnabled), true);

    const Result unknown = quillo(path, {QStringLiteral("config"), QStringLiteral("get"), QStringLiteral("Nope")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_TRUE(unknown.err.contains("Unknown setting: 'Nope'"));
    EXPECT_EQ(quillo(path, {QStringLiteral("config"), QStringLiteral("frobnicate")}).exitCode, 2);

    const Result list = quillo(path, {QStringLiteral("config"), QStringLiteral("list")});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.out.count('\n'), qsizetype(PreferenceKeys::all().size()));
    EXPECT_TRUE(list.out.contains("MCP.Enabled (boolean) = true\n")) << list.out.constData();
    EXPECT_TRUE(list.out.contains("WatermarkSizeMultiplier (number) = 0.5 (default)\n")) << list.out.constData();
}

TEST(AdminCommandLine, TheRunningInstanceCarriesChangesAndBackupsOut)
{
    RunningInstance instance;
    ASSERT_TRUE(instance.start());
    const QString home = instance.home().path();
    ASSERT_EQ(instance.run({QStringLiteral("quillo://schedule?text=backed%20up&stealthMode=true")}).exitCode, 0);

    const QString file = home + QStringLiteral("/schedule.json");
    const Result exported = quillo(home, {QStringLiteral("export-schedule"), file});
    EXPECT_EQ(exported.exitCode, 0) << exported.err.constData();
    EXPECT_TRUE(exported.err.contains("Exported 1 scheduled posts")) << exported.err.constData();
    EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);

    const Result noAccounts = quillo(home, {QStringLiteral("export-accounts"), home + QStringLiteral("/accounts.json")});
    EXPECT_EQ(noAccounts.exitCode, 1);
    EXPECT_TRUE(noAccounts.err.contains("No accounts to export.")) << noAccounts.err.constData();

    const Result set = quillo(home, {QStringLiteral("config"), QStringLiteral("set"), QStringLiteral("AutoSplitEnabled"), QStringLiteral("false")});
    EXPECT_EQ(set.exitCode, 0) << set.err.constData();
    EXPECT_TRUE(instance.log().contains("Setting AutoSplitEnabled = false")) << "carried out by the instance";
    EXPECT_EQ(PreferenceStore(instance.paths()).boolValue(PreferenceKeys::AutoSplitEnabled), false);

    const Result imported = quillo(home, {QStringLiteral("import-schedule"), file});
    EXPECT_EQ(imported.exitCode, 0) << imported.err.constData();
    EXPECT_TRUE(imported.err.contains("Imported 1 scheduled posts")) << imported.err.constData();
}

} // namespace
