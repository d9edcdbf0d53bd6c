#pragma once

#include "core/quillo_error.h"

// A URL command that cannot be carried out. invalidParameter and fileNotFound wrap
// their detail in a fixed sentence; failed carries a complete message of its own.
class URLSchemeError : public QuilloError {
public:
    enum class Kind { invalidParameter, fileNotFound, failed };

    static URLSchemeError invalidParameter(QString detail) { return {Kind::invalidParameter, std::move(detail)}; }
    static URLSchemeError fileNotFound(QString path) { return {Kind::fileNotFound, std::move(path)}; }
    static URLSchemeError failed(QString message) { return {Kind::failed, std::move(message)}; }

    Kind kind() const { return m_kind; }
    QString detail() const { return m_detail; }

private:
    URLSchemeError(Kind kind, QString detail);
    static QString describe(Kind kind, const QString& detail);

    Kind m_kind;
    QString m_detail;
};
