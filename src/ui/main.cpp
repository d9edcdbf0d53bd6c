// quillo-desktop: the desktop instance with its windows. `quillo` execs it for the desktop
// run mode; every other mode stays in `quillo`, which links no GUI library.
#include "app/launch_options.h"
#include "app/run_modes.h"
#include "ui/desktop_window_host.h"

#include <QProcessEnvironment>
#include <QStringList>

#include <csignal>
#include <cstdio>

int main(int argc, char** argv)
{
    // As in quillo: a closed pipe is handled where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    const LaunchOptions options =
        LaunchOptions::parse(LaunchOptions::argumentsOf(argc, argv), QProcessEnvironment::systemEnvironment());
    if (options.mode != RunMode::desktop) {
        std::fputs("quillo-desktop only starts the desktop instance; run quillo for everything else\n", stderr);
        return 2;
    }
    DesktopWindowHost windows;
    return RunModes::runInstance(argc, argv, options, &windows);
}
