#include "store/scheduler_service_error.h"

SchedulerServiceError::SchedulerServiceError(Kind kind, QString reason)
    : m_kind(kind)
    , m_reason(std::move(reason))
    , m_what(QString(title() + QStringLiteral(": ") + message()).toStdString())
{
}

QString SchedulerServiceError::title() const
{
    switch (m_kind) {
    case Kind::noPostsToExport:
    case Kind::exportFailed:
        return QStringLiteral("Export Failed");
    case Kind::importFailed:
        return QStringLiteral("Import Failed");
    }
    return {};
}

QString SchedulerServiceError::message() const
{
    if (m_kind == Kind::noPostsToExport)
        return QStringLiteral("No scheduled posts to export.");
    return m_reason;
}
