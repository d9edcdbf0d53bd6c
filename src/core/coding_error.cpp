#include "core/coding_error.h"

CodingError::CodingError(Kind kind, QString path, QString detail)
    : QuilloError(describe(kind, path, detail))
    , m_kind(kind)
    , m_path(std::move(path))
    , m_detail(std::move(detail))
{
}

QString CodingError::describe(Kind kind, const QString& path, const QString& detail)
{
    const QString where = path.isEmpty() ? QStringLiteral("the top level") : path;
    switch (kind) {
    case Kind::malformedJson:
        return QStringLiteral("The data is not valid JSON: ") + detail;
    case Kind::missingKey:
        return QStringLiteral("No value for the key \"") + detail + QStringLiteral("\" at ") + where + u'.';
    case Kind::wrongType:
        return QStringLiteral("Expected ") + detail + QStringLiteral(" at ") + where + u'.';
    case Kind::invalidValue:
        return QStringLiteral("Invalid value at ") + where + QStringLiteral(": ") + detail;
    case Kind::unencodable:
        return QStringLiteral("Cannot encode the value at ") + where + QStringLiteral(": ") + detail;
    }
    return detail;
}
