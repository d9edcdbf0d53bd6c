#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The networks Quillo publishes to. The raw values are what stored documents hold.
enum class PlatformType { x, bluesky, mastodon };

// x, bluesky, mastodon: the order used wherever all platforms are listed.
QList<PlatformType> allPlatformTypes();

// "x", "bluesky", "mastodon".
QString rawValue(PlatformType platform);
// Exactly a raw value.
std::optional<PlatformType> platformTypeFromRawValue(QStringView raw);
// "X.com", "BlueSky", "Mastodon".
QString displayName(PlatformType platform);

// The platform for a name kept in a scheduled post's "platforms": raw values are what
// Quillo writes, but display names and other capitalisations are read as well so a
// name a user or an older writer typed still finds its platform ("X", "X.com",
// "Twitter", "Bluesky", "BlueSky", "Mastodon", in any case).
std::optional<PlatformType> platformTypeFromName(QStringView name);
