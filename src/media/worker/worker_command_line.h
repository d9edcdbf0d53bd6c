#pragma once

#include <QStringList>

// `quillo-media JOB ARGS…`: runs one job and prints its answer as one JSON line on
// stdout. Exit status 0 when the job succeeded, 1 when it failed, 2 for a usage error.
class WorkerCommandLine {
public:
    static int run(const QStringList& arguments);
};
