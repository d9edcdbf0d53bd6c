#pragma once

#include <memory>

struct AccountConnectors;
class AccountManager;
class AppEvents;
class AppPaths;
class Clock;
class PreferenceStore;
class PublishingService;
class QCoreApplication;
class QObject;
class SchedulerService;

// The instance's services that windows observe and drive. They outlive the windows.
struct InstanceServices {
    const AppPaths& paths;
    AppEvents& events;
    PreferenceStore& preferences;
    SchedulerService& scheduler;
    AccountManager& accounts;
    PublishingService& publishing;
    const Clock& clock;
    // The account connect flows; none where the instance builds no windows.
    const AccountConnectors* connectors = nullptr;
};

// What the binary that draws adds to the instance: its application object and its windows.
// The instance itself stays the same in every mode.
class WindowHost {
public:
    virtual ~WindowHost() = default;
    // `argc` must outlive the application object (Qt keeps a reference to it).
    virtual std::unique_ptr<QCoreApplication> createApplication(int& argc, char** argv) = 0;
    // Called once the launch steps ran and the stored posts are loaded; the returned
    // object owns the windows until the event loop ends.
    virtual std::unique_ptr<QObject> createWindows(const InstanceServices& services) = 0;
};
