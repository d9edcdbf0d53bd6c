#include "scheduling/publish_error.h"

PublishError::PublishError(Kind kind, QString message)
    : QuilloError(std::move(message))
    , m_kind(kind)
{
}

PublishError PublishError::serviceNotInitialized(PlatformType platform)
{
    return PublishError(Kind::serviceNotInitialized,
                        QStringLiteral("The %1 account is missing credentials; connect it again in Settings")
                            .arg(publishingName(platform)));
}

PublishError PublishError::invalidPlatform(const QString& name)
{
    return PublishError(Kind::invalidPlatform, QStringLiteral("Unknown platform: ") + name);
}

PublishError PublishError::publishFailed(const QString& message)
{
    return PublishError(Kind::publishFailed, message);
}

PublishError PublishError::accountNotFound(PlatformType platform)
{
    return PublishError(Kind::accountNotFound, QStringLiteral("No %1 account found").arg(publishingName(platform)));
}

PublishError PublishError::cancelled()
{
    return PublishError(Kind::cancelled, QStringLiteral("Publishing was cancelled"));
}

QString publishingName(PlatformType platform)
{
    switch (platform) {
    case PlatformType::x: return QStringLiteral("X");
    case PlatformType::bluesky: return QStringLiteral("BlueSky");
    case PlatformType::mastodon: return QStringLiteral("Mastodon");
    }
    return {};
}
