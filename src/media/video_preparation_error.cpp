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

VideoPreparationError VideoPreparationError::redaction(const QString& cause)
{
    return VideoPreparationError(Kind::redaction, QStringLiteral("Unable to black out the redacted parts of an image"), cause);
}

QString VideoPreparationError::domain() const
{
    switch (m_kind) {
    case Kind::compression: return QStringLiteral("media_compression");
    case Kind::trim: return QStringLiteral("timeline_trim");
    case Kind::redaction: return QStringLiteral("image_redaction");
    }
    return {};
}
