#pragma once

#include <QMap>
#include <QStringList>

#include <optional>

// `quillo-media JOB ARGS…`: runs one job and prints its answer as one JSON line on
// stdout. Exit status 0 when the job succeeded, 1 when it failed, 2 for a usage error.
class WorkerCommandLine {
public:
    static int run(const QStringList& arguments);

private:
    // Positional arguments and the values of --name VALUE options.
    struct Parsed {
        QStringList positional;
        QMap<QString, QString> options;
    };
    static std::optional<Parsed> parse(const QStringList& arguments, const QStringList& valueOptions);

    static int runImage(const Parsed& parsed);
    static int runProbe(const Parsed& parsed);
    static int runEnvelope(const Parsed& parsed);
    static int runSilences(const Parsed& parsed);
};
