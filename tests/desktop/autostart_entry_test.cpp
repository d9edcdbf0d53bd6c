#include "core/quillo_error.h"
#include "desktop/autostart_entry.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFile>
#include <QSettings>

#include <gtest/gtest.h>

TEST(AutostartEntryTest, WritesAnEntryThatStartsQuilloAndRemovesIt)
{
    TempHome home;
    // A path with a space and a dollar sign: both must survive the Exec quoting.
    AutostartEntry entry(home.path() + QStringLiteral("/config"), QStringLiteral("/opt/My Apps/$q/quillo"));
    EXPECT_FALSE(entry.isEnabled());
    EXPECT_EQ(entry.filePath(), home.path() + QStringLiteral("/config/autostart/quillo.desktop"));

    entry.setEnabled(true);
    ASSERT_TRUE(entry.isEnabled());
    QFile file(entry.filePath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.startsWith(QStringLiteral("[Desktop Entry]\n")));
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=\"/opt/My Apps/\\\\$q/quillo\"\n"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("\nType=Application\n")));

    entry.setEnabled(true); // again: still one entry, same content
    EXPECT_EQ(QDir(home.path() + QStringLiteral("/config/autostart")).entryList(QDir::Files).size(), 1);
    entry.setEnabled(false);
    EXPECT_FALSE(entry.isEnabled());
    entry.setEnabled(false); // nothing to remove is not a failure
}

TEST(AutostartEntryTest, AFolderThatCannotBeMadeIsAClearErrorAndLeavesNothing)
{
    TempHome home;
    QFile blocker(home.path() + QStringLiteral("/config"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the folder should be
    blocker.close();
    AutostartEntry entry(blocker.fileName(), QStringLiteral("/usr/bin/quillo"));
    try {
        entry.setEnabled(true);
        ADD_FAILURE() << "no error";
    } catch (const QuilloError& error) {
        EXPECT_TRUE(error.message().contains(QStringLiteral("cannot start at login"))) << error.message().toStdString();
    }
    EXPECT_FALSE(entry.isEnabled());
}

TEST(AutostartEntryTest, ConfigHomeFollowsXdgAndIgnoresRelativePaths)
{
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("HOME"), QStringLiteral("/home/ada"));
    EXPECT_EQ(AutostartEntry::configHomeFrom(environment), QStringLiteral("/home/ada/.config"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral("relative/config"));
    EXPECT_EQ(AutostartEntry::configHomeFrom(environment), QStringLiteral("/home/ada/.config"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral("/srv/ada/config"));
    EXPECT_EQ(AutostartEntry::configHomeFrom(environment), QStringLiteral("/srv/ada/config"));
}
