#pragma once

#include <QString>

#include <exception>

// A URL command that cannot be carried out. invalidParameter and fileNotFound wrap
// their detail in a fixed sentence; failed carries a complete message of its own.
class URLSchemeError : public std::exception {
public:
    enum class Kind { InvalidParameter, FileNotFound, Failed };

    static URLSchemeError invalidParameter(QString detail) { return {Kind::InvalidParameter, std::move(detail)}; }
    static URLSchemeError fileNotFound(QString path) { return {Kind::FileNotFound, std::move(path)}; }
    static URLSchemeError failed(QString message) { return {Kind::Failed, std::move(message)}; }

    Kind kind() const { return m_kind; }
    QString detail() const { return m_detail; }
    QString message() const;
    const char* what() const noexcept override { return m_what.constData(); }

private:
    URLSchemeError(Kind kind, QString detail);

    Kind m_kind;
    QString m_detail;
    QByteArray m_what;
};
