#include "commands/url_scheme_error.h"

URLSchemeError::URLSchemeError(Kind kind, QString detail)
    : QuilloError(describe(kind, detail))
    , m_kind(kind)
    , m_detail(std::move(detail))
{
}

QString URLSchemeError::describe(Kind kind, const QString& detail)
{
    switch (kind) {
    case Kind::invalidParameter: return QStringLiteral("Invalid parameter: ") + detail;
    case Kind::fileNotFound: return QStringLiteral("File not found: ") + detail;
    case Kind::failed: return detail;
    }
    return detail;
}
