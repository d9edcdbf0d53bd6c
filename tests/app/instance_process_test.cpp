#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "support/quillo_process.h"
#include "support/temp_home.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>

namespace {

// Waits until the instance wrote the given text to stderr.
bool waitForStderr(QuilloProcess& quillo, QByteArray& seen, const QByteArray& text)
{
    const QDeadlineTimer deadline(10000);
    while (!seen.contains(text) && !deadline.hasExpired()) {
        quillo.process().waitForReadyRead(100);
        seen += quillo.allStderr();
    }
    return seen.contains(text);
}

TEST(InstanceProcess, LaunchesHeadlessAndStopsCleanlyOnSigterm)
{
    TempHome home;
    {
        PreferenceStore seed(home.paths());
        seed.setValue(PreferenceKeys::ShowCalendarBadge, false);
    }
    QuilloProcess quillo(home.path());
    quillo.process().setReadChannel(QProcess::StandardError);
    quillo.start({QStringLiteral("--headless")});

    QByteArray log;
    ASSERT_TRUE(waitForStderr(quillo, log, "Onboarding suppressed")) << log.constData();
    EXPECT_TRUE(log.contains("Application did finish launching"));
    EXPECT_TRUE(log.contains("🎯 Onboarding check: suppressOnboardingPrompts=true"));
    EXPECT_FALSE(log.contains("UI test mode"));

    ::kill(pid_t(quillo.process().processId()), SIGTERM);
    EXPECT_EQ(quillo.waitForExit(), 0);
    EXPECT_EQ(quillo.process().exitStatus(), QProcess::NormalExit);

    // The stored choice is kept, and the log file holds the same lines.
    PreferenceStore after(home.paths());
    EXPECT_EQ(after.boolValue(PreferenceKeys::ShowCalendarBadge), false);
    // Launch stored every other default, with its type, and the empty platform list.
    for (const PreferenceKey& key : PreferenceKeys::all()) {
        if (!key.registered || key.name == PreferenceKeys::ShowCalendarBadge)
            continue;
        ASSERT_TRUE(after.contains(key.name)) << key.name.data();
        if (key.type == PreferenceType::real)
            EXPECT_EQ(after.doubleValue(key.name), key.defaultValue.toDouble()) << key.name.data();
        else if (key.type == PreferenceType::boolean)
            EXPECT_EQ(after.boolValue(key.name), key.defaultValue.toBool()) << key.name.data();
        else
            EXPECT_EQ(after.value(key.name)->toString(), key.defaultValue.toString()) << key.name.data();
    }
    EXPECT_EQ(after.stringListValue(PreferenceKeys::SocialPlatforms), QStringList());
    QFile logFile(home.paths().logFile());
    ASSERT_TRUE(logFile.open(QIODevice::ReadOnly));
    EXPECT_TRUE(logFile.readAll().contains("Application did finish launching"));
}

TEST(InstanceProcess, LaunchRemovesMediaNoStoredDocumentRefersTo)
{
    TempHome home;
    const AppPaths paths = home.paths();
    QDir().mkpath(paths.mediaDir());
    const QString kept = paths.mediaDir() + QStringLiteral("/kept.png");
    const QString orphan = paths.mediaDir() + QStringLiteral("/orphan.png");
    for (const QString& file : {kept, orphan}) {
        QFile made(file);
        ASSERT_TRUE(made.open(QIODevice::WriteOnly));
    }
    {
        PreferenceStore seed(paths);
        seed.setData(PreferenceKeys::ComposerDrafts, "[{\"media\":\"" + kept.toUtf8() + "\"}]");
    }
    QuilloProcess quillo(home.path());
    quillo.process().setReadChannel(QProcess::StandardError);
    quillo.start({QStringLiteral("--headless")});
    QByteArray log;
    ASSERT_TRUE(waitForStderr(quillo, log, "Removed 1 unused media files")) << log.constData();
    ::kill(pid_t(quillo.process().processId()), SIGTERM);
    EXPECT_EQ(quillo.waitForExit(), 0);
    EXPECT_TRUE(QFile::exists(kept));
    EXPECT_FALSE(QFile::exists(orphan));
}

TEST(InstanceProcess, UiTestModeWithResetStartsFromACleanState)
{
    TempHome home;
    {
        PreferenceStore seed(home.paths());
        seed.setValue(PreferenceKeys::SoundEnabled, false);
        seed.setValue(PreferenceKeys::SocialPlatforms, QStringList{QStringLiteral("x")});
        seed.setData(PreferenceKeys::SocialAccounts, QByteArrayLiteral("[]"));
    }
    QuilloProcess quillo(home.path());
    quillo.environment().insert(QStringLiteral("QUILLO_UI_TEST_MODE"), QString());
    quillo.environment().insert(QStringLiteral("QUILLO_UI_TEST_RESET_STATE"), QString());
    quillo.process().setReadChannel(QProcess::StandardError);
    quillo.start({QStringLiteral("--headless")});

    QByteArray log;
    ASSERT_TRUE(waitForStderr(quillo, log, "Onboarding suppressed")) << log.constData();
    EXPECT_TRUE(log.contains("🧪 UI test mode enabled"));
    ::kill(pid_t(quillo.process().processId()), SIGINT);
    EXPECT_EQ(quillo.waitForExit(), 0);

    PreferenceStore after(home.paths());
    // The seeded values are gone; the defaults and the empty platform list are back.
    EXPECT_EQ(after.boolValue(PreferenceKeys::SoundEnabled), true);
    EXPECT_EQ(after.stringListValue(PreferenceKeys::SocialPlatforms), QStringList());
    EXPECT_TRUE(after.contains(PreferenceKeys::SocialPlatforms));
    EXPECT_FALSE(after.data(PreferenceKeys::SocialAccounts).has_value());
    EXPECT_EQ(after.boolValue(PreferenceKeys::ShowCalendarBadge), true);
}

} // namespace
