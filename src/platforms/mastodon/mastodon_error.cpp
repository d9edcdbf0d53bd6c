#include "platforms/mastodon/mastodon_error.h"

namespace {

// what() keeps the server's words after the sentence a person reads.
QString logText(const QString& message, const QString& detail)
{
    return detail.isEmpty() || message.contains(detail) ? message : message + QStringLiteral(" [") + detail + u']';
}

QString uploadDescription(std::optional<int> status, const QString& details)
{
    QString text = QStringLiteral("Failed to upload media");
    if (status) {
        text += QStringLiteral(" (HTTP %1)").arg(*status);
        if (*status == 413)
            text += QStringLiteral(" - File too large");
        else if (*status == 422)
            text += QStringLiteral(" - Invalid media format");
        else if (*status == 503)
            text += QStringLiteral(" - Server temporarily unavailable");
    }
    if (!details.isEmpty())
        text += QStringLiteral(": ") + details;
    return text;
}

} // namespace

MastodonError::MastodonError(Kind kind, QString detail, std::optional<int> status, std::optional<QDateTime> resetAt)
    : QuilloError(describe(kind, detail, status, resetAt), logText(describe(kind, detail, status, resetAt), detail))
    , m_kind(kind)
    , m_detail(std::move(detail))
    , m_status(status)
    , m_resetAt(std::move(resetAt))
{
}

MastodonError MastodonError::uploadFailed(std::optional<int> status, QString details)
{
    return {Kind::uploadFailed, std::move(details), status};
}

MastodonError MastodonError::connectFailed(int status, QString detail)
{
    return {Kind::connectFailed, std::move(detail), status};
}

QString MastodonError::connectMessage(int status)
{
    switch (status) {
    case 400:
        return QStringLiteral("The request to Mastodon was invalid. Please try again.");
    case 401:
        return QStringLiteral("Unable to authenticate with Mastodon. Please check if your credentials are correct and try again.");
    case 403:
        return QStringLiteral("Access to Mastodon API was denied. Please check if your credentials have the correct permissions.");
    case 404:
        return QStringLiteral("The Mastodon instance could not be found. Please check the instance URL.");
    case 429:
        return QStringLiteral("Too many requests to Mastodon API. Please wait a moment and try again.");
    default:
        break;
    }
    if (status >= 500 && status <= 599)
        return QStringLiteral("Mastodon servers are currently experiencing issues. Please try again later.");
    return QStringLiteral("An error occurred while connecting to Mastodon (Error %1)").arg(status);
}

QString MastodonError::describe(Kind kind, const QString& detail, std::optional<int> status,
                                const std::optional<QDateTime>& resetAt)
{
    switch (kind) {
    case Kind::uploadFailed:
        return uploadDescription(status, detail);
    case Kind::requestFailed:
        return QStringLiteral("Request failed: ") + detail;
    case Kind::authenticationError:
        return QStringLiteral("Failed to authenticate with Mastodon");
    case Kind::invalidMedia:
        return QStringLiteral("Invalid media format");
    case Kind::postFailed:
        return QStringLiteral("Failed to post to Mastodon");
    case Kind::invalidResponse:
        return QStringLiteral("Received invalid response from Mastodon");
    case Kind::invalidConfiguration:
        return QStringLiteral("Invalid Mastodon configuration");
    case Kind::mediaProcessingFailed:
        return QStringLiteral("Failed to process media");
    case Kind::serverError:
        return QStringLiteral("Mastodon server error: The instance might be experiencing issues. Please try again later.");
    case Kind::rateLimited:
        if (resetAt)
            return QStringLiteral("Mastodon rate limit reached; try again after %1")
                .arg(resetAt->toLocalTime().toString(Qt::ISODate));
        return QStringLiteral("Mastodon rate limit reached; try again later");
    case Kind::apiError:
        return QStringLiteral("Mastodon API Error - Status: %1").arg(status.value_or(0));
    case Kind::unparsableResponse:
        return QStringLiteral("Failed to parse Mastodon response");
    case Kind::cancelled:
        return QStringLiteral("Publishing to Mastodon was cancelled");
    case Kind::invalidInstance:
    case Kind::accountRejected:
    case Kind::textTooLong:
        return detail;
    case Kind::connectFailed:
        return connectMessage(status.value_or(0));
    }
    return {};
}
