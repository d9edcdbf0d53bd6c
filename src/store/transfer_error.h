#pragma once

#include "core/quillo_error.h"

// Failures of a backup export or import, of accounts or of scheduled posts. message()
// is the sentence shown to the user, title() the alert's title.
class TransferError : public QuilloError {
public:
    enum class Kind { nothingToExport, exportFailed, importFailed };

    static TransferError noAccountsToExport();
    static TransferError noPostsToExport();
    static TransferError exportFailed(const QString& reason);
    static TransferError importFailed(const QString& reason);

    Kind kind() const { return m_kind; }
    QString title() const { return titleOf(m_kind); }

private:
    TransferError(Kind kind, const QString& message);
    static QString titleOf(Kind kind);

    Kind m_kind;
};

// The names the two owners throw it under.
using AccountManagerError = TransferError;
using SchedulerServiceError = TransferError;
