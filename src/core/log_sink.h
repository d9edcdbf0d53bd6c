#pragma once

#include <QString>

class Clock;

// Routes every Qt log message of the process. Installed first thing in main():
// the instance writes one line per event to stderr and to its log file; the MCP
// server keeps stdout for protocol only and lets nothing but "[MCP] " lines, and
// those only when debugging, reach stderr.
class LogSink {
public:
    // The clock stamps every line; it must outlive the process's logging.
    static void installForInstance(const QString& logFile, const Clock& clock);
    static void installForMcp(bool debug);
};
