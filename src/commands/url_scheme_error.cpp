#include "commands/url_scheme_error.h"

URLSchemeError::URLSchemeError(Kind kind, QString detail)
    : m_kind(kind)
    , m_detail(std::move(detail))
{
    m_what = message().toUtf8();
}

QString URLSchemeError::message() const
{
    switch (m_kind) {
    case Kind::InvalidParameter: return QStringLiteral("Invalid parameter: ") + m_detail;
    case Kind::FileNotFound: return QStringLiteral("File not found: ") + m_detail;
    case Kind::Failed: return m_detail;
    }
    return m_detail;
}
