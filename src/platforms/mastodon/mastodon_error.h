#pragma once

#include "core/quillo_error.h"

#include <QDateTime>
#include <QString>

#include <optional>

// Failures of the Mastodon client. message() is the sentence a person reads; what() adds
// the server's own words for the log. Neither ever holds a token or a client secret.
class MastodonError : public QuilloError {
public:
    enum class Kind {
        uploadFailed,          // status and the server's `error` text, when known
        requestFailed,         // no HTTP answer; detail is the transport's description
        authenticationError,   // 401, or no usable token
        invalidMedia,
        postFailed,
        invalidResponse,       // an answer that is not the JSON it should be
        invalidConfiguration,  // a service without instance or token
        mediaProcessingFailed,
        // Beyond the basic cases:
        serverError,           // 500 and above while posting
        rateLimited,           // 429, with the reset time when the instance sent one
        apiError,              // other statuses of reading requests
        unparsableResponse,    // recent posts that cannot be read
        textTooLong,           // a post over the instance's limit; detail says which
        cancelled,
        // Connecting an account:
        invalidInstance,       // detail is the sentence for the account form
        connectFailed,         // an authorization step failed with `status` (the connect sheet's table)
        accountRejected,       // the account store refused the account; detail is why
    };

    MastodonError(Kind kind, QString detail = {}, std::optional<int> status = std::nullopt,
                  std::optional<QDateTime> resetAt = std::nullopt);

    static MastodonError uploadFailed(std::optional<int> status, QString details = {});
    // The connect sheet's message for the HTTP status of a failed authorization step.
    static MastodonError connectFailed(int status, QString detail = {});
    static QString connectMessage(int status);

    Kind kind() const { return m_kind; }
    const QString& detail() const { return m_detail; }
    std::optional<int> status() const { return m_status; }
    const std::optional<QDateTime>& rateLimitResetAt() const { return m_resetAt; }

private:
    static QString describe(Kind kind, const QString& detail, std::optional<int> status,
                            const std::optional<QDateTime>& resetAt);

    Kind m_kind;
    QString m_detail;
    std::optional<int> m_status;
    std::optional<QDateTime> m_resetAt;
};
