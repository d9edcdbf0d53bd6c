#pragma once

#include "core/quillo_error.h"
#include "model/platform_type.h"

// Publishing as a whole could not go on: a client could not be built, an account is gone,
// media preparation failed, or the person cancelled.
class PublishError : public QuilloError {
public:
    enum class Kind { serviceNotInitialized, invalidPlatform, publishFailed, accountNotFound, cancelled };

    static PublishError serviceNotInitialized(PlatformType platform);
    static PublishError invalidPlatform(const QString& name);
    static PublishError publishFailed(const QString& message);
    static PublishError accountNotFound(PlatformType platform);
    static PublishError cancelled();

    Kind kind() const { return m_kind; }

private:
    PublishError(Kind kind, QString message);

    Kind m_kind;
};

// "X", "BlueSky", "Mastodon": the names the publishing status lines use.
QString publishingName(PlatformType platform);
