#pragma once

#include "support/quillo_process.h"
#include "support/temp_home.h"

#include <QByteArray>
#include <QStringList>

#include <memory>
#include <optional>

// A headless quillo in its own temporary home, plus the forwarder runs that talk to it.
class RunningInstance {
public:
    RunningInstance();
    ~RunningInstance();

    // Starts `quillo --headless` and waits until its channel accepts connections.
    bool start();
    const TempHome& home() const { return m_home; }
    AppPaths paths() const { return m_home.paths(); }
    QuilloProcess& process() { return *m_instance; }
    // Everything the instance logged so far.
    QByteArray log();

    struct Run {
        int exitCode = -1;
        QByteArray stderrText;
    };
    // Runs the binary with these arguments to its end (the forwarder, a second start).
    Run run(const QStringList& arguments, const QStringList& extraEnvironment = {});

    // Waits until a connection to the channel succeeds.
    static bool waitForChannel(const AppPaths& paths, int timeoutMs = QuilloProcess::kDefaultTimeoutMs);
    // Ends whatever process holds the instance lock of these paths (one the forwarder
    // started detached, for example).
    static void stopLockHolder(const AppPaths& paths);

private:
    TempHome m_home;
    std::unique_ptr<QuilloProcess> m_instance;
};
