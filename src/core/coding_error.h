#pragma once

#include "core/quillo_error.h"

// A stored or imported document that cannot become model values, or a value that
// cannot be written as JSON. The path names where in the document it went wrong
// (for example "[3].content[0].mediaItems[1].type").
class CodingError : public QuilloError {
public:
    enum class Kind { malformedJson, missingKey, wrongType, invalidValue, unencodable };

    CodingError(Kind kind, QString path, QString detail);

    Kind kind() const { return m_kind; }
    const QString& path() const { return m_path; }
    const QString& detail() const { return m_detail; }

private:
    static QString describe(Kind kind, const QString& path, const QString& detail);

    Kind m_kind;
    QString m_path;
    QString m_detail;
};
