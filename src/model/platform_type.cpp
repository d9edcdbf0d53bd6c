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
    // Compared in place: stored posts are evaluated by the thousand.
    const QStringView trimmed = name.trimmed();
    const auto is = [trimmed](QStringView known) { return trimmed.compare(known, Qt::CaseInsensitive) == 0; };
    if (is(u"x") || is(u"x.com") || is(u"twitter"))
        return PlatformType::x;
    if (is(u"bluesky") || is(u"bsky"))
        return PlatformType::bluesky;
    if (is(u"mastodon"))
        return PlatformType::mastodon;
    return std::nullopt;
}
