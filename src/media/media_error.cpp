#include "media/media_error.h"

MediaError::MediaError(Kind kind, QString message)
    : QuilloError(std::move(message))
    , m_kind(kind)
{
}

MediaError MediaError::unreadableInput(const QString& detail)
{
    return MediaError(Kind::unreadableInput, QStringLiteral("The media file cannot be read: ") + detail);
}

MediaError MediaError::tooLarge(const QString& detail)
{
    return MediaError(Kind::tooLarge, QStringLiteral("The media file cannot be made small enough: ") + detail);
}

MediaError MediaError::outputFailed(const QString& detail)
{
    return MediaError(Kind::outputFailed, QStringLiteral("The media file cannot be written: ") + detail);
}

MediaError MediaError::workerFailed(const QString& detail)
{
    return MediaError(Kind::workerFailed, QStringLiteral("The media worker failed: ") + detail);
}

MediaError MediaError::invalidRequest(const QString& message)
{
    return MediaError(Kind::invalidRequest, message);
}

MediaError MediaError::cancelled()
{
    return MediaError(Kind::cancelled, QStringLiteral("The media job was cancelled"));
}
