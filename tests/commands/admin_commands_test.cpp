// `quillo config set` and the backup commands as the instance carries them out.
#include "commands/admin_commands.h"
#include "core/preference_keys.h"
#include "handler_fixture.h"

#include <QFileInfo>

// Every key of the table with texts of every kind: a value is stored exactly when it
// reads as the key's type, and it reads back as what was typed.
TEST_F(HandlerFixture, ConfigSetAcceptsWhatTheKeysTypeReadsAndNothingElse)
{
    AdminCommands admin(preferences, scheduler, accounts);
    const QStringList samples = {QStringLiteral("true"), QStringLiteral("false"), QStringLiteral("yes"), QStringLiteral("0"),
                                 QStringLiteral("1.25"), QStringLiteral("-3"), QStringLiteral("nan"), QStringLiteral("abc"),
                                 QStringLiteral("2025-01-15T10:30:00.000Z"), QStringLiteral("hd"), QStringLiteral("x,mastodon"),
                                 QStringLiteral("")};
    for (const PreferenceKey& key : PreferenceKeys::all()) {
        for (const QString& text : samples) {
            const QString name = QString(key.name);
            const CommandOutcome outcome = admin.run(AdminCommands::configSetUrl(name, text));
            const bool parses = PreferenceKeys::parseValue(key, text).error.isEmpty();
            const bool isPreset = key.name == PreferenceKeys::PublishingExportPreset
                || key.name == PreferenceKeys::VideoEditorExportPreset;
            const bool isPlatformList = key.name == PreferenceKeys::SocialPlatforms;
            bool expected = parses && (!isPreset || text == QLatin1String("hd"));
            if (isPlatformList)
                expected = text.isEmpty() || text == QLatin1String("x,mastodon");
            EXPECT_EQ(outcome.ok, expected) << name.toStdString() << "=" << text.toStdString() << ": "
                                            << outcome.message.toStdString();
            if (!outcome.ok) {
                EXPECT_TRUE(outcome.message.startsWith(name)) << outcome.message.toStdString();
                continue;
            }
            if (isPlatformList) {
                EXPECT_EQ(accounts.enabledPlatforms().size(), text.isEmpty() ? 0 : 2);
                continue;
            }
            const PreferenceStore reread(home.paths());
            const QVariant stored = key.type == PreferenceType::stringList ? QVariant(*reread.stringListValue(key.name))
                                                                            : *reread.value(key.name);
            EXPECT_EQ(PreferenceKeys::displayText(key, stored), PreferenceKeys::displayText(key, PreferenceKeys::parseValue(key, text).value))
                << name.toStdString();
            if (key.type == PreferenceType::boolean) {
                EXPECT_EQ(reread.boolValue(key.name), text == QLatin1String("true"));
            }
        }
    }
    EXPECT_EQ(admin.run(AdminCommands::configSetUrl(QStringLiteral("MCP.Enabld"), QStringLiteral("true"))),
              CommandOutcome::failure(QStringLiteral("Unknown setting: 'MCP.Enabld' (quillo config list shows them all)")));
}

TEST_F(HandlerFixture, BackupsGoThroughTheStoresAndAreUserOnly)
{
    AdminCommands admin(preferences, scheduler, accounts);
    const QString schedule = home.path() + QStringLiteral("/schedule.json");
    const QString backup = home.path() + QStringLiteral("/accounts.json");
    EXPECT_EQ(admin.run(AdminCommands::transferUrl(QStringLiteral("export-schedule"), schedule)),
              CommandOutcome::failure(QStringLiteral("Export Failed: No scheduled posts to export.")));
    ASSERT_TRUE(send(QStringLiteral("quillo://schedule?text=kept&stealthMode=true")).ok);
    EXPECT_TRUE(admin.run(AdminCommands::transferUrl(QStringLiteral("export-schedule"), schedule)).ok);
    EXPECT_TRUE(admin.run(AdminCommands::transferUrl(QStringLiteral("export-accounts"), backup)).ok);
    for (const QString& file : {schedule, backup})
        EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), 0) << file.toStdString();

    scheduler.clearAll();
    accounts.removeAllAccounts();
    EXPECT_TRUE(admin.run(AdminCommands::transferUrl(QStringLiteral("import-schedule"), schedule)).ok);
    EXPECT_TRUE(admin.run(AdminCommands::transferUrl(QStringLiteral("import-accounts"), backup)).ok);
    EXPECT_EQ(storedOne().content[0].text, QStringLiteral("kept"));
    EXPECT_EQ(accounts.accounts().size(), 3);

    EXPECT_FALSE(admin.run(AdminCommands::transferUrl(QStringLiteral("export-schedule"), QStringLiteral("relative.json"))).ok);
    EXPECT_FALSE(admin.run(AdminCommands::transferUrl(QStringLiteral("import-accounts"), home.path() + QStringLiteral("/none.json"))).ok);
    EXPECT_FALSE(admin.run(AdminCommands::transferUrl(QStringLiteral("wipe"), schedule)).ok);
}
