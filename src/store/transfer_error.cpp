#include "store/transfer_error.h"

TransferError::TransferError(Kind kind, const QString& message)
    : QuilloError(message, titleOf(kind) + QStringLiteral(": ") + message)
    , m_kind(kind)
{
}

TransferError TransferError::noAccountsToExport()
{
    return {Kind::nothingToExport, QStringLiteral("No accounts to export.")};
}

TransferError TransferError::noPostsToExport()
{
    return {Kind::nothingToExport, QStringLiteral("No scheduled posts to export.")};
}

TransferError TransferError::exportFailed(const QString& reason)
{
    return {Kind::exportFailed, reason};
}

TransferError TransferError::importFailed(const QString& reason)
{
    return {Kind::importFailed, reason};
}

QString TransferError::titleOf(Kind kind)
{
    return kind == Kind::importFailed ? QStringLiteral("Import Failed") : QStringLiteral("Export Failed");
}
