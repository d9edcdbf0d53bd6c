// The processes that draw nothing must not load a GUI library: read what each one has
// mapped while it is running.
#include "support/quillo_process.h"
#include "support/running_instance.h"
#include "support/temp_home.h"

#include <QFile>
#include <QLocalServer>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

namespace {

// The GUI-side libraries of a mapped-files list: Qt's GUI modules, GL, X11 and xcb.
QStringList guiLibraries(qint64 pid)
{
    static const QRegularExpression gui(QStringLiteral(R"re(/(libQt6(Gui|Widgets|OpenGL)|libGL|libEGL|libOpenGL|libX11|libxcb|libxkbcommon)[^/]*$)re"));
    QFile maps(QStringLiteral("/proc/%1/maps").arg(pid));
    if (!maps.open(QIODevice::ReadOnly | QIODevice::Text))
        return {QStringLiteral("cannot read ") + maps.fileName()};
    QSet<QString> found;
    const QStringList lines = QString::fromUtf8(maps.readAll()).split(u'\n');
    for (const QString& line : lines) {
        const QString path = line.section(u' ', -1);
        if (gui.match(path).hasMatch())
            found.insert(path);
    }
    return QStringList(found.cbegin(), found.cend());
}

// Something in the maps proves the process got past loading: Qt Core itself.
bool hasQtCore(qint64 pid)
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(pid));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libQt6Core");
}

} // namespace

TEST(NoGuiProcess, McpServerHeadlessInstanceAndForwarderLoadNoGuiLibrary)
{
    {
        TempHome home;
        QuilloProcess mcp(home.path());
        mcp.start({QStringLiteral("--mcp-stdio")});
        mcp.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"test","version":"1"}}})");
        ASSERT_TRUE(mcp.readLine()) << "the MCP server did not answer";
        ASSERT_TRUE(hasQtCore(mcp.process().processId()));
        EXPECT_EQ(guiLibraries(mcp.process().processId()), QStringList()) << "MCP server";
    }
    {
        RunningInstance instance;
        ASSERT_TRUE(instance.start());
        ASSERT_TRUE(hasQtCore(instance.process().process().processId()));
        EXPECT_EQ(guiLibraries(instance.process().process().processId()), QStringList()) << "headless instance";
    }
    {
        // A channel that takes the command and never answers keeps the forwarder waiting.
        TempHome home;
        ASSERT_TRUE(home.paths().ensureExists());
        QLocalServer silent;
        ASSERT_TRUE(silent.listen(home.paths().socketPath())) << silent.errorString().toStdString();
        QuilloProcess forwarder(home.path());
        forwarder.start({QStringLiteral("quillo://open")});
        ASSERT_TRUE(silent.waitForNewConnection(10000));
        ASSERT_TRUE(hasQtCore(forwarder.process().processId()));
        EXPECT_EQ(guiLibraries(forwarder.process().processId()), QStringList()) << "forwarder";
    }
    {
        // The text commands, kept waiting for their next line.
        TempHome home;
        QuilloProcess count(home.path());
        count.start({QStringLiteral("count"), QStringLiteral("--json-lines")});
        count.writeLine(R"("hello")");
        ASSERT_TRUE(count.readLine()) << "quillo count did not answer";
        ASSERT_TRUE(hasQtCore(count.process().processId()));
        EXPECT_EQ(guiLibraries(count.process().processId()), QStringList()) << "quillo count";
    }
}
