#include "model/platform_type.h"

QList<PlatformType> allPlatformTypes()
{
    return {PlatformType::x, PlatformType::bluesky, PlatformType::mastodon};
}

QString rawValue(PlatformType platform)
{
    switch (platform) {
    case PlatformType::x:
        return QStringLiteral("x");
    case PlatformType::bluesky:
        return QStringLiteral("bluesky");
    case PlatformType::mastodon:
        return QStringLiteral("mastodon");
    }
    return {};
}

std::optional<PlatformType> platformTypeFromRawValue(QStringView raw)
{
    for (const PlatformType platform : allPlatformTypes()) {
        if (raw == rawValue(platform))
            return platform;
    }
    return std::nullopt;
}

QString displayName(PlatformType platform)
{
    switch (platform) {
    case PlatformType::x:
        return QStringLiteral("X.com");
    case PlatformType::bluesky:
        return QStringLiteral("BlueSky");
    case PlatformType::mastodon:
        return QStringLiteral("Mastodon");
    }
    return {};
}

std::optional<PlatformType> platformTypeFromName(QStringView name)
{
    const QString folded = name.trimmed().toString().toLower();
    if (folded == u"x" || folded == u"x.com" || folded == u"twitter")
        return PlatformType::x;
    if (folded == u"bluesky" || folded == u"bsky")
        return PlatformType::bluesky;
    if (folded == u"mastodon")
        return PlatformType::mastodon;
    return std::nullopt;
}
