#pragma once

#include "core/quillo_error.h"

// A video of a post could not be made ready for publishing. The message is the one people
// see; the media error behind it goes to the log.
class VideoPreparationError : public QuilloError {
public:
    enum class Kind { compression, trim, redaction };

    // Domain "media_compression": "Unable to compress video".
    static VideoPreparationError compression(const QString& cause);
    // "Unable to export trimmed video".
    static VideoPreparationError trim(const QString& cause);
    // An image whose redactions could not be applied; it is never sent as it was.
    static VideoPreparationError redaction(const QString& cause);

    Kind kind() const { return m_kind; }
    QString domain() const;
    const QString& cause() const { return m_cause; }

private:
    VideoPreparationError(Kind kind, QString message, QString cause);

    Kind m_kind;
    QString m_cause;
};
