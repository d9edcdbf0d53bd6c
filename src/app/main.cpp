#include "app/admin_command_line.h"
#include "app/desktop_binary.h"
#include "app/editor_command_line.h"
#include "app/launch_options.h"
#include "app/run_modes.h"
#include "app/text_command_line.h"

#include <QStringList>

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
{
    // Every mode writes to pipes and sockets whose reader may leave first (an editor
    // closing the MCP server's stdout, a script piping `quillo count` into head): a
    // failed write is handled where it happens, it must not kill the process.
    std::signal(SIGPIPE, SIG_IGN);

    const QStringList arguments = LaunchOptions::argumentsOf(argc, argv);
    const LaunchOptions options = LaunchOptions::parse(arguments, QProcessEnvironment::systemEnvironment());
    switch (options.mode) {
    case RunMode::text:
        // Reads stdin and answers on stdout: no application object, no instance.
        return TextCommandLine::run(arguments, std::cin, std::cout, std::cerr);
    case RunMode::mcpStdio:
        return RunModes::runMcpStdio(options);
    case RunMode::forwarder:
        return RunModes::runForwarder(argc, argv, options);
    case RunMode::printMcpConfig:
    case RunMode::installMcp:
        return EditorCommandLine::run(options);
    case RunMode::config:
    case RunMode::transfer:
        return AdminCommandLine::run(options);
    case RunMode::desktop:
        DesktopBinary::execIfInstalled(argv);
        return RunModes::runInstance(argc, argv, options);
    case RunMode::headless:
        return RunModes::runInstance(argc, argv, options);
    }
    return 1;
}
