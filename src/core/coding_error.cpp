#include "core/coding_error.h"

CodingError::CodingError(Kind kind, QString path, QString detail)
    : m_kind(kind)
    , m_path(std::move(path))
    , m_detail(std::move(detail))
    , m_what(message().toStdString())
{
}

QString CodingError::message() const
{
    const QString where = m_path.isEmpty() ? QStringLiteral("the top level") : m_path;
    switch (m_kind) {
    case Kind::malformedJson:
        return QStringLiteral("The data is not valid JSON: ") + m_detail;
    case Kind::missingKey:
        return QStringLiteral("No value for the key \"") + m_detail + QStringLiteral("\" at ") + where + u'.';
    case Kind::wrongType:
        return QStringLiteral("Expected ") + m_detail + QStringLiteral(" at ") + where + u'.';
    case Kind::invalidValue:
        return QStringLiteral("Invalid value at ") + where + QStringLiteral(": ") + m_detail;
    case Kind::unencodable:
        return QStringLiteral("Cannot encode the value at ") + where + QStringLiteral(": ") + m_detail;
    }
    return m_detail;
}
