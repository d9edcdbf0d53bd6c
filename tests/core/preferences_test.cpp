#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "core/user_defaults_storage.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

TEST(AppPaths, QuilloHomeHoldsEverythingElseFollowsXdg)
{
    QProcessEnvironment env;
    env.insert(QStringLiteral("QUILLO_HOME"), QStringLiteral("/tmp/qh"));
    const AppPaths home = AppPaths::fromEnvironment(env);
    EXPECT_EQ(home.preferencesFile(), QStringLiteral("/tmp/qh/config/quillo.conf"));
    EXPECT_EQ(home.mediaDir(), QStringLiteral("/tmp/qh/data/Quillo/Media"));
    EXPECT_EQ(home.logFile(), QStringLiteral("/tmp/qh/state/quillo.log"));
    EXPECT_TRUE(home.socketPath().startsWith(QStringLiteral("/tmp/qh/runtime/")));

    QProcessEnvironment xdg;
    xdg.insert(QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral("/x/config"));
    xdg.insert(QStringLiteral("XDG_DATA_HOME"), QStringLiteral("relative/ignored"));
    xdg.insert(QStringLiteral("XDG_RUNTIME_DIR"), QStringLiteral("/run/user/7"));
    const AppPaths paths = AppPaths::fromEnvironment(xdg);
    EXPECT_EQ(paths.preferencesFile(), QStringLiteral("/x/config/quillo/quillo.conf"));
    EXPECT_EQ(paths.dataDir(), QDir::homePath() + QStringLiteral("/.local/share/quillo"));
    EXPECT_EQ(paths.runtimeDir(), QStringLiteral("/run/user/7/quillo"));
}

TEST(PreferenceStore, FilesAreUserOnlyAndValuesSurviveARestart)
{
    TempHome home;
    {
        PreferenceStore store(home.paths());
        store.setValue(PreferenceKeys::AnalyticsEnabled, false);
        ASSERT_TRUE(store.setData(QStringLiteral("SocialAccounts"), QByteArrayLiteral("[]")));
    }
    const auto privateOnly = QFile::ReadOwner | QFile::WriteOwner;
    const AppPaths paths = home.paths();
    EXPECT_EQ(QFileInfo(paths.preferencesFile()).permissions() & ~QFile::ReadUser & ~QFile::WriteUser, privateOnly);
    PreferenceStore reopened(paths);
    EXPECT_EQ(QFileInfo(reopened.dataPath(QStringLiteral("SocialAccounts"))).permissions() & ~QFile::ReadUser & ~QFile::WriteUser, privateOnly);

    // Registration fills in what is missing and leaves the stored false alone.
    PreferenceKeys::registerDefaults(reopened);
    EXPECT_EQ(reopened.boolValue(PreferenceKeys::AnalyticsEnabled), false);
    EXPECT_EQ(reopened.boolValue(PreferenceKeys::AutoSplitEnabled), true);
    EXPECT_EQ(reopened.doubleValue(PreferenceKeys::WatermarkSizeMultiplier), 0.5);
    EXPECT_EQ(reopened.doubleValue(PreferenceKeys::WatermarkMarginMultiplier), 1.0);
    EXPECT_EQ(reopened.stringValue(PreferenceKeys::PublishingExportPreset), QStringLiteral("socialMedia"));
    EXPECT_EQ(reopened.boolValue(PreferenceKeys::MCPEnabled), false);
    // Keys without a default stay absent.
    EXPECT_FALSE(reopened.contains(PreferenceKeys::CalendarDisplayMode));
    EXPECT_FALSE(reopened.data(PreferenceKeys::ScheduledPosts).has_value());
}

TEST(PreferenceStore, SeesWhatAnotherWriterStored)
{
    TempHome home;
    PreferenceStore reader(home.paths());
    EXPECT_FALSE(reader.boolValue(PreferenceKeys::MCPEnabled).has_value());
    PreferenceStore writer(home.paths());
    writer.setValue(PreferenceKeys::MCPEnabled, true);
    reader.sync();
    EXPECT_EQ(reader.boolValue(PreferenceKeys::MCPEnabled), true);
}

TEST(PreferenceStore, DataWritesReplaceWholeDocumentsAndRefuseUnsafeKeys)
{
    TempHome home;
    PreferenceStore store(home.paths());
    ASSERT_TRUE(store.setData(QStringLiteral("scheduledPosts"), QByteArrayLiteral("[1]")));
    ASSERT_TRUE(store.setData(QStringLiteral("scheduledPosts"), QByteArrayLiteral("[1,2]")));
    EXPECT_EQ(store.data(QStringLiteral("scheduledPosts")), QByteArrayLiteral("[1,2]"));
    EXPECT_FALSE(store.setData(QStringLiteral("../escape"), QByteArrayLiteral("x")));
    EXPECT_FALSE(store.data(QStringLiteral("../escape")).has_value());

    // A write that cannot happen leaves the previous document whole.
    const QString dir = home.paths().configDir();
    QFile::setPermissions(dir, QFile::ReadOwner | QFile::ExeOwner);
    if (!QFileInfo(dir).isWritable()) { // root ignores permissions; nothing to prove then
        EXPECT_FALSE(store.setData(QStringLiteral("scheduledPosts"), QByteArrayLiteral("[]")));
        EXPECT_EQ(store.data(QStringLiteral("scheduledPosts")), QByteArrayLiteral("[1,2]"));
    }
    QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    store.setValue(PreferenceKeys::SoundEnabled, false);
    store.clear();
    EXPECT_FALSE(store.contains(PreferenceKeys::SoundEnabled));
    EXPECT_FALSE(store.data(QStringLiteral("scheduledPosts")).has_value());
}

TEST(UserDefaultsStorage, NamespacedReadsOfAbsentKeysYieldNothing)
{
    TempHome home;
    PreferenceStore store(home.paths());
    UserDefaultsStorage calendar(QStringLiteral("CalendarWindow"), store);
    EXPECT_FALSE(calendar.boolValue(QStringLiteral("neverWritten")).has_value());
    EXPECT_FALSE(calendar.intValue(QStringLiteral("neverWritten")).has_value());

    calendar.setString(QStringLiteral("displayMode"), QStringLiteral("week"));
    calendar.setBool(QStringLiteral("flag"), false);
    EXPECT_EQ(store.stringValue(PreferenceKeys::CalendarDisplayMode), QStringLiteral("week"));
    EXPECT_EQ(calendar.boolValue(QStringLiteral("flag")), false);
}

TEST(PreferenceStore, StringListsRoundTripAtEverySize)
{
    TempHome home;
    PreferenceStore store(home.paths());
    for (const QStringList& list : {QStringList(), QStringList{QStringLiteral("x")}, QStringList{QStringLiteral("x"), QStringLiteral("bluesky")}}) {
        store.setValue(PreferenceKeys::SocialPlatforms, list);
        PreferenceStore reopened(home.paths());
        EXPECT_EQ(reopened.stringListValue(PreferenceKeys::SocialPlatforms), list);
    }
}

} // namespace

namespace strictness {

// A hand-edited INI: only the two words QSettings writes are Booleans, for every
// Boolean key and every reader; anything else falls back to the key's default.
TEST(PreferenceStore, BooleansAreReadStrictlyFromHandEditedFiles)
{
    const QStringList words = {QStringLiteral("true"),  QStringLiteral("false"), QStringLiteral("no"),
                               QStringLiteral("off"),   QStringLiteral("yes"),   QStringLiteral("on"),
                               QStringLiteral("1"),     QStringLiteral("0"),     QStringLiteral("TRUE"),
                               QStringLiteral("False"), QStringLiteral(""),      QStringLiteral("truex"),
                               QStringLiteral("@Invalid()")};
    for (const QString& word : words) {
        TempHome home;
        const AppPaths paths = home.paths();
        QDir().mkpath(paths.configDir());
        QFile ini(paths.preferencesFile());
        ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
        QByteArray text = "[General]\n";
        for (const PreferenceKey& key : PreferenceKeys::all()) {
            if (key.type == PreferenceType::boolean)
                text += QByteArray(key.name.data(), key.name.size()) + '=' + word.toUtf8() + '\n';
        }
        ini.write(text);
        ini.close();

        const PreferenceStore store(paths);
        const std::optional<bool> expected = word == QLatin1String("true")    ? std::optional<bool>(true)
                                             : word == QLatin1String("false") ? std::optional<bool>(false)
                                                                              : std::nullopt;
        for (const PreferenceKey& key : PreferenceKeys::all()) {
            if (key.type != PreferenceType::boolean)
                continue;
            EXPECT_EQ(store.boolValue(key.name), expected) << key.name.data() << "=" << word.toStdString();
            EXPECT_EQ(store.valueOrDefault(key.name).toBool(), expected.value_or(key.defaultValue.toBool()))
                << key.name.data() << "=" << word.toStdString();
        }
    }
}

} // namespace strictness
