// The built desktop start: `quillo` with a display hands over to quillo-desktop, whose
// composer opens on a quillo://compose command with the command's text, and whose
// settings open on quillo://settings.
#include "core/app_paths.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool waitFor(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(10000);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(50);
    }
    return true;
}

} // namespace

TEST(DesktopProcess, ComposeCommandOpensTheComposerWithItsText)
{
    TempHome home;
    QuilloProcess desktop(home.path());
    // A display is what makes the start a desktop one; offscreen draws it nowhere.
    desktop.environment().insert(QStringLiteral("DISPLAY"), QStringLiteral(":99"));
    desktop.environment().insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    desktop.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    desktop.start({});
    ASSERT_TRUE(RunningInstance::waitForChannel(home.paths()));
    const QString executable = QFileInfo(QFileInfo(QStringLiteral("/proc/%1/exe").arg(desktop.process().processId())).symLinkTarget()).fileName();
    EXPECT_EQ(executable, QStringLiteral("quillo-desktop"));

    QuilloProcess forwarder(home.path());
    forwarder.start({QStringLiteral("quillo://compose?text=Hello%20desktop&platforms=bluesky")});
    EXPECT_EQ(forwarder.waitForExit(), 0) << forwarder.allStderr().toStdString();
    EXPECT_TRUE(forwarder.allStderr().contains("Opened composer with 1 post(s)"));
    const QString log = home.paths().logFile();
    EXPECT_TRUE(waitFor([&] { return readAll(log).contains("Composer shown with 1 post(s)"); }));
    // The window holds the text: its draft is saved half a second after the change.
    const QString draft = home.paths().configDir() + QStringLiteral("/composerDrafts.json");
    EXPECT_TRUE(waitFor([&] { return readAll(draft).contains("Hello desktop"); })) << readAll(draft).toStdString();

    // A second start brings the running one forward instead of starting another.
    QuilloProcess second(home.path());
    second.environment() = desktop.environment();
    second.start({});
    EXPECT_EQ(second.waitForExit(), 0);
    EXPECT_TRUE(waitFor([&] { return readAll(log).count("Composer shown") >= 2; }));

    // A first start welcomes the person; the settings open at the section a command names.
    EXPECT_TRUE(readAll(log).contains("   ✅ Showing onboarding window..."));
    EXPECT_TRUE(readAll(log).contains("🎯 Onboarding window shown"));
    QuilloProcess settings(home.path());
    settings.start({QStringLiteral("quillo://settings?section=mcp")});
    EXPECT_EQ(settings.waitForExit(), 0) << settings.allStderr().toStdString();
    EXPECT_TRUE(waitFor([&] { return readAll(log).contains("⚙️ Settings shown at mcp"); }));

    desktop.process().terminate();
    EXPECT_EQ(desktop.waitForExit(), 0);
}
