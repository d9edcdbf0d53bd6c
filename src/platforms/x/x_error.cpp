#include "platforms/x/x_error.h"

namespace {

// The log keeps X's own words after the sentence a person reads.
QString withDetail(const QString& message, const QString& detail)
{
    return detail.isEmpty() || detail == message ? message : message + QStringLiteral(": ") + detail;
}

} // namespace

XError::XError(Kind kind, QString detail, int status, std::optional<QDateTime> resetAt)
    : XError(kind, describe(kind, detail, status, resetAt), detail, status, resetAt)
{
}

XError::XError(Kind kind, const QString& message, const QString& detail, int status,
               const std::optional<QDateTime>& resetAt)
    : QuilloError(message, withDetail(message, detail))
    , m_kind(kind)
    , m_detail(detail)
    , m_status(status)
    , m_resetAt(resetAt)
{
}

XError XError::forStatus(int status, QString detail)
{
    switch (status) {
    case 400:
        return {Kind::badRequest, std::move(detail), status};
    case 401:
        return {Kind::unauthorized, std::move(detail), status};
    case 403:
        return {Kind::forbidden, std::move(detail), status};
    case 413:
        return {Kind::payloadTooLarge, std::move(detail), status};
    default:
        return {Kind::apiError, std::move(detail), status};
    }
}

QString XError::describe(Kind kind, const QString& detail, int status, const std::optional<QDateTime>& resetAt)
{
    switch (kind) {
    case Kind::postFailed:
        return QStringLiteral("Failed to post to X");
    case Kind::appendFailed:
        return QStringLiteral("Failed to append media chunk");
    case Kind::payloadTooLarge:
        return QStringLiteral("Media payload too large for X");
    case Kind::forbidden:
        return QStringLiteral("Access forbidden by X API");
    case Kind::unauthorized:
        return QStringLiteral("Failed to authenticate with X");
    case Kind::badRequest:
        return QStringLiteral("Invalid request to X API");
    case Kind::apiError:
        return QStringLiteral("X API error (status %1)").arg(status);
    case Kind::rateLimited:
        if (resetAt)
            return QStringLiteral("X rate limit reached; try again after %1")
                .arg(resetAt->toLocalTime().toString(Qt::ISODate));
        return QStringLiteral("X rate limit reached; try again later");
    case Kind::finalizeFailed:
        return QStringLiteral("Failed to finalize media upload");
    case Kind::uploadInitFailed:
        return QStringLiteral("Failed to start media upload to X");
    case Kind::mediaUnreadable:
        return QStringLiteral("Media file cannot be read: %1").arg(detail);
    case Kind::networkError:
        return QStringLiteral("Could not reach X");
    case Kind::cancelled:
        return QStringLiteral("Publishing to X was cancelled");
    case Kind::missingConsumerKeys:
        return QStringLiteral("Please enter your X API Key and Secret first");
    case Kind::missingAccessToken:
        return QStringLiteral("Please enter your X access token and access token secret");
    case Kind::missingVerifier:
        return QStringLiteral("Missing oauth_verifier. Maybe use allowMissingOAuthVerifier=true");
    case Kind::accessTokenFailed:
        return QStringLiteral("Could not get access token");
    case Kind::browserUnavailable:
        return QStringLiteral("Could not open the X sign-in page in the browser");
    case Kind::callbackTimedOut:
        return QStringLiteral("X sign-in timed out: the browser did not come back to Quillo");
    case Kind::accountRejected:
        return detail;
    }
    return {};
}
