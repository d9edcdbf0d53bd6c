#include "store/account_manager_error.h"

AccountManagerError::AccountManagerError(Kind kind, QString reason)
    : m_kind(kind)
    , m_reason(std::move(reason))
    , m_what(QString(title() + QStringLiteral(": ") + message()).toStdString())
{
}

QString AccountManagerError::title() const
{
    switch (m_kind) {
    case Kind::noAccountsToExport:
    case Kind::exportFailed:
        return QStringLiteral("Export Failed");
    case Kind::importFailed:
        return QStringLiteral("Import Failed");
    }
    return {};
}

QString AccountManagerError::message() const
{
    if (m_kind == Kind::noAccountsToExport)
        return QStringLiteral("No accounts to export.");
    return m_reason;
}
