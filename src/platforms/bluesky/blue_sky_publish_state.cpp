#include "platforms/bluesky/blue_sky_publish_state.h"

QString BlueSkyPublishState::statusText() const
{
    switch (phase) {
    case Phase::preparingMedia:
        return QStringLiteral("Preparing %1").arg(type);
    case Phase::uploadingMedia:
        return QStringLiteral("Uploading %1 (%2%)").arg(type).arg(qRound(progress * 100));
    case Phase::processingMedia:
        return QStringLiteral("Processing %1").arg(type);
    case Phase::publishingPost:
        // The position is in index and total; the line itself stays the same for every post.
        return QStringLiteral("Publishing post");
    case Phase::authenticating:
        return QStringLiteral("Authenticating with BlueSky...");
    }
    return {};
}
