#include "ui/desktop_window_host.h"

#include "ui/app_icon.h"
#include "ui/desktop_windows.h"

#include <QApplication>

std::unique_ptr<QCoreApplication> DesktopWindowHost::createApplication(int& argc, char** argv)
{
    auto app = std::make_unique<QApplication>(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(QStringLiteral("quillo"));
    QApplication::setWindowIcon(AppIcon::icon());
    return app;
}

std::unique_ptr<QObject> DesktopWindowHost::createWindows(const InstanceServices& services)
{
    return std::make_unique<DesktopWindows>(services);
}
