#pragma once

#include <QString>

#include <exception>
#include <string>

// Failures of the account manager's backup export and import. message() is the
// sentence shown to the user; title() the alert's title.
class AccountManagerError : public std::exception {
public:
    enum class Kind { noAccountsToExport, exportFailed, importFailed };

    static AccountManagerError noAccountsToExport() { return {Kind::noAccountsToExport, {}}; }
    static AccountManagerError exportFailed(const QString& reason) { return {Kind::exportFailed, reason}; }
    static AccountManagerError importFailed(const QString& reason) { return {Kind::importFailed, reason}; }

    Kind kind() const { return m_kind; }
    const QString& reason() const { return m_reason; }
    QString title() const;
    QString message() const;
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    AccountManagerError(Kind kind, QString reason);

    Kind m_kind;
    QString m_reason;
    std::string m_what;
};
