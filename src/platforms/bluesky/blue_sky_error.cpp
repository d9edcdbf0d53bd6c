#include "platforms/bluesky/blue_sky_error.h"

namespace {

QString withDetail(const QString& sentence, const QString& detail)
{
    return detail.isEmpty() ? sentence : sentence + QStringLiteral(": ") + detail;
}

} // namespace

BlueSkyError::BlueSkyError(Kind kind, QString detail, int status, std::optional<Timestamp> resetTime)
    : QuilloError(describe(kind, detail, resetTime))
    , m_kind(kind)
    , m_detail(std::move(detail))
    , m_status(status)
    , m_resetTime(resetTime)
{
}

bool BlueSkyError::isTokenExpired() const
{
    return m_kind == Kind::authenticationError && m_detail == QStringLiteral("Token expired");
}

QString BlueSkyError::describe(Kind kind, const QString& detail, const std::optional<Timestamp>& resetTime)
{
    switch (kind) {
    case Kind::postFailed:
        return withDetail(QStringLiteral("Failed to post to BlueSky"), detail);
    case Kind::uploadFailed:
        return withDetail(QStringLiteral("Failed to upload media to BlueSky"), detail);
    case Kind::authenticationError:
        return withDetail(QStringLiteral("BlueSkyError Authentication error"), detail);
    case Kind::rateLimited:
        if (resetTime && resetTime->toDateTime().isValid())
            return QStringLiteral("BlueSky rate limit reached; try again after %1")
                .arg(resetTime->toDateTime().toLocalTime().toString(Qt::ISODate));
        return QStringLiteral("BlueSky rate limit reached; try again later");
    case Kind::requestFailed:
        return withDetail(QStringLiteral("Could not reach BlueSky"), detail);
    case Kind::invalidCredentials:
        return QStringLiteral("Invalid BlueSky handle or app password");
    case Kind::invalidMedia:
        return withDetail(QStringLiteral("Media cannot be sent to BlueSky"), detail);
    case Kind::invalidResponse:
        return withDetail(QStringLiteral("Invalid response from BlueSky"), detail);
    case Kind::cancelled:
        return QStringLiteral("Publishing to BlueSky cancelled by user");
    case Kind::accountRejected:
        return detail;
    }
    return {};
}
