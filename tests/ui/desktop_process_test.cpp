// The built desktop start: `quillo` with a display hands over to quillo-desktop, whose
// composer opens on a quillo://compose command with the command's text, and whose
// settings open on quillo://settings.
#include "core/app_paths.h"
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"
#include "support/xvfb.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QScopeGuard>
#include <QThread>

#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

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

template <typename T>
using XcbReply = std::unique_ptr<T, decltype(&std::free)>;

// Whether a mapped top-level window on the display carries this title (_NET_WM_NAME or WM_NAME).
bool hasWindowTitled(const QByteArray& display, const QByteArray& title)
{
    xcb_connection_t* connection = xcb_connect(display.constData(), nullptr);
    const auto disconnect = qScopeGuard([connection] { xcb_disconnect(connection); });
    if (xcb_connection_has_error(connection))
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const XcbReply<xcb_intern_atom_reply_t> netName(
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, 12, "_NET_WM_NAME"), nullptr), &std::free);
    const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr), &std::free);
    if (!tree || !netName)
        return false;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, children[i]), nullptr), &std::free);
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        for (const xcb_atom_t property : {netName->atom, xcb_atom_t(XCB_ATOM_WM_NAME)}) {
            const XcbReply<xcb_get_property_reply_t> name(
                xcb_get_property_reply(connection, xcb_get_property(connection, 0, children[i], property, XCB_GET_PROPERTY_TYPE_ANY, 0, 256), nullptr),
                &std::free);
            if (name && QByteArray(static_cast<const char*>(xcb_get_property_value(name.get())), xcb_get_property_value_length(name.get())) == title)
                return true;
        }
    }
    return false;
}

} // namespace

TEST(DesktopProcess, UnderXvfbTheComposeCommandOpensAWindowTitledComposer)
{
    Xvfb server;
    if (!server.start())
        GTEST_SKIP() << "Xvfb is not installed";
    TempHome home;
    QuilloProcess desktop(home.path());
    desktop.environment().insert(QStringLiteral("DISPLAY"), QString::fromLatin1(server.display()));
    desktop.environment().insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    desktop.environment().insert(QStringLiteral("QUILLO_NO_DESKTOP_OPENER"), QStringLiteral("1"));
    desktop.start({});
    ASSERT_TRUE(RunningInstance::waitForChannel(home.paths())) << desktop.allStderr().toStdString();
    EXPECT_FALSE(hasWindowTitled(server.display(), "Composer")) << "the tray app starts without a window";

    QuilloProcess forwarder(home.path());
    forwarder.start({QStringLiteral("quillo://compose?text=Typed%20under%20Xvfb")});
    EXPECT_EQ(forwarder.waitForExit(), 0) << forwarder.allStderr().toStdString();
    EXPECT_TRUE(waitFor([&] { return hasWindowTitled(server.display(), "Composer"); }));
    const QString draft = home.paths().configDir() + QStringLiteral("/composerDrafts.json");
    EXPECT_TRUE(waitFor([&] { return readAll(draft).contains("Typed under Xvfb"); })) << readAll(draft).toStdString();

    desktop.process().terminate();
    EXPECT_EQ(desktop.waitForExit(), 0);
}

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

    // "Open with Quillo" on an image: a new post with it attached, in the media folder.
    const QString photo = home.path() + QStringLiteral("/photo.png");
    QImage(32, 24, QImage::Format_RGB32).save(photo);
    QuilloProcess opener(home.path());
    opener.start({photo});
    EXPECT_EQ(opener.waitForExit(), 0) << opener.allStderr().toStdString();
    EXPECT_TRUE(waitFor([&] { return readAll(draft).contains("Media/"); })) << readAll(draft).toStdString();

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
