#pragma once

#include "app/window_host.h"

// The desktop binary's side of the instance: a QApplication that keeps running in the tray
// when the last window closes, and the windows.
class DesktopWindowHost : public WindowHost {
public:
    std::unique_ptr<QCoreApplication> createApplication(int& argc, char** argv) override;
    std::unique_ptr<QObject> createWindows(const InstanceServices& services) override;
};
