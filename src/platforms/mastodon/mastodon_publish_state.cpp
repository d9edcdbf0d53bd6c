#include "platforms/mastodon/mastodon_publish_state.h"

#include <QtMath>

QString MastodonPublishState::statusText() const
{
    switch (kind) {
    case Kind::preparingMedia:
        return QStringLiteral("Preparing ") + mediaType + QStringLiteral(" for Mastodon...");
    case Kind::uploadingMedia:
        return QStringLiteral("Uploading ") + mediaType + QStringLiteral(" to Mastodon (%1%)...").arg(qRound(progress * 100));
    case Kind::publishingPost:
        return QStringLiteral("Publishing post %1 of %2 to Mastodon...").arg(index).arg(total);
    case Kind::authenticating:
        return QStringLiteral("Authenticating with Mastodon...");
    }
    return {};
}
