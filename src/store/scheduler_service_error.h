#pragma once

#include <QString>

#include <exception>
#include <string>

// Failures of the scheduled-post export and import. message() is the sentence shown
// to the user; title() the alert's title.
class SchedulerServiceError : public std::exception {
public:
    enum class Kind { noPostsToExport, exportFailed, importFailed };

    static SchedulerServiceError noPostsToExport() { return {Kind::noPostsToExport, {}}; }
    static SchedulerServiceError exportFailed(const QString& reason) { return {Kind::exportFailed, reason}; }
    static SchedulerServiceError importFailed(const QString& reason) { return {Kind::importFailed, reason}; }

    Kind kind() const { return m_kind; }
    const QString& reason() const { return m_reason; }
    QString title() const;
    QString message() const;
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    SchedulerServiceError(Kind kind, QString reason);

    Kind m_kind;
    QString m_reason;
    std::string m_what;
};
