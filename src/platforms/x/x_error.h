#pragma once

#include "core/quillo_error.h"

#include <QDateTime>
#include <QString>

#include <optional>

// Failures of the X client. Each case maps to one user-facing sentence (message());
// detail() keeps the technical text for the log.
class XError : public QuilloError {
public:
    enum class Kind {
        postFailed,           // no usable answer to a post
        appendFailed,         // a media chunk was refused
        payloadTooLarge,      // 413 at the smallest chunk size
        forbidden,            // 403
        unauthorized,         // 401
        badRequest,           // 400
        apiError,             // any other status
        rateLimited,          // 429, with the reset time when X sent one
        finalizeFailed,       // finalize or processing failed
        uploadInitFailed,     // initialize answered without a media id
        mediaUnreadable,      // the file vanished or cannot be read
        networkError,         // no HTTP answer at all
        cancelled,
        // Connecting an account:
        missingConsumerKeys,  // API key or secret not entered
        missingAccessToken,   // typed keys without the access token pair
        missingVerifier,      // the callback carried no oauth_verifier
        accessTokenFailed,    // a token exchange failed or answered nonsense
        browserUnavailable,   // the authorize page could not be opened
        callbackTimedOut,     // the browser never came back
        accountRejected,      // the account store refused the account (detail is why)
    };

    XError(Kind kind, QString detail = {}, int status = 0, std::optional<QDateTime> resetAt = std::nullopt);

    static XError forStatus(int status, QString detail);

    Kind kind() const { return m_kind; }
    const QString& detail() const { return m_detail; }
    int status() const { return m_status; }
    const std::optional<QDateTime>& rateLimitResetAt() const { return m_resetAt; }

private:
    XError(Kind kind, const QString& message, const QString& detail, int status,
           const std::optional<QDateTime>& resetAt);
    static QString describe(Kind kind, const QString& detail, int status, const std::optional<QDateTime>& resetAt);

    Kind m_kind;
    QString m_detail;
    int m_status;
    std::optional<QDateTime> m_resetAt;
};
