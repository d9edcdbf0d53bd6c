#include "media/video_preparation_error.h"

VideoPreparationError::VideoPreparationError(Kind kind, QString message, QString cause)
    : QuilloError(message, message + QStringLiteral(": ") + cause)
    , m_kind(kind)
    , m_cause(std::move(cause))
{
}

VideoPreparationError VideoPreparationError::compression(const QString& cause)
{
    return VideoPreparationError(Kind::compression, QStringLiteral("Unable to compress video"), cause);
}

VideoPreparationError VideoPreparationError::trim(const QString& cause)
{
    return VideoPreparationError(Kind::trim, QStringLiteral("Unable to export trimmed video"), cause);
}

QString VideoPreparationError::domain() const
{
    return m_kind == Kind::compression ? QStringLiteral("media_compression") : QStringLiteral("timeline_trim");
}
