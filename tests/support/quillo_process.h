#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <optional>

// Drives the built quillo binary as a child process: write lines to its stdin, read
// lines from its stdout, collect stderr, wait for its exit. Every wait is bounded.
class QuilloProcess {
public:
    static constexpr int kDefaultTimeoutMs = 10000;

    explicit QuilloProcess(const QString& home);
    ~QuilloProcess();

    QProcessEnvironment& environment() { return m_env; }

    void start(const QStringList& arguments);
    void writeLine(const QByteArray& line);
    void write(const QByteArray& bytes);
    void closeInput();

    // The next stdout line without its line feed, or nothing on timeout or exit.
    std::optional<QByteArray> readLine(int timeoutMs = kDefaultTimeoutMs);
    // Waits for the exit and returns the status, or nothing on timeout.
    std::optional<int> waitForExit(int timeoutMs = kDefaultTimeoutMs);
    QByteArray allStdout();
    QByteArray allStderr();
    QProcess& process() { return m_process; }

private:
    QProcess m_process;
    QProcessEnvironment m_env;
    QByteArray m_stdout;
};
