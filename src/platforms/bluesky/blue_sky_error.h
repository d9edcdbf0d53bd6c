#pragma once

#include "core/quillo_error.h"
#include "core/timestamp.h"

#include <QString>

#include <optional>

// Failures of the Bluesky client. Each case maps to one user-facing sentence (message());
// detail() keeps the server's or the transport's own words.
class BlueSkyError : public QuilloError {
public:
    enum class Kind {
        postFailed,          // createRecord failed, no CID, an unparsable quote or reply URI
        uploadFailed,        // uploadBlob failed for an image or a video
        authenticationError, // sign-in failed, "Token expired", "Unauthorized"
        rateLimited,         // 429; resetTime() says when it ends, when the server said so
        requestFailed,       // no HTTP answer at all
        invalidCredentials,  // "Invalid identifier or password"
        invalidMedia,        // media that cannot be read, converted or sent as it is
        invalidResponse,     // an answer that is not the expected JSON
        cancelled,           // the user stopped the publication
        accountRejected,     // connecting: the account form's own message (detail)
    };

    BlueSkyError(Kind kind, QString detail = {}, int status = 0, std::optional<Timestamp> resetTime = std::nullopt);

    Kind kind() const { return m_kind; }
    const QString& detail() const { return m_detail; }
    // The HTTP status that caused the error, 0 when there was none.
    int status() const { return m_status; }
    const std::optional<Timestamp>& resetTime() const { return m_resetTime; }
    // A 5xx answer: the publishing side shows kServerErrorMessage for it.
    bool isServerError() const { return m_status >= 500; }
    // Whether the server refused the token: the caller signs in again.
    bool isTokenExpired() const;

    static constexpr const char* kServerErrorMessage =
        "BlueSky server error: The service might be experiencing issues. Please try again later.";

private:
    static QString describe(Kind kind, const QString& detail, const std::optional<Timestamp>& resetTime);

    Kind m_kind;
    QString m_detail;
    int m_status;
    std::optional<Timestamp> m_resetTime;
};
