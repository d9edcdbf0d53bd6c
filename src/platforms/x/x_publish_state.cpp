#include "platforms/x/x_publish_state.h"

QString XPublishState::statusText() const
{
    const QString item = mediaCount > 1 ? QStringLiteral(" %1 of %2").arg(mediaIndex + 1).arg(mediaCount) : QString();
    switch (phase) {
    case Phase::uploadingMedia:
        return QStringLiteral("Uploading media%1 to X (%2%)").arg(item).arg(qRound(fraction * 100));
    case Phase::processingMedia:
        return QStringLiteral("X is processing media%1").arg(item);
    case Phase::settingAltText:
        return QStringLiteral("Setting alt text%1").arg(item);
    case Phase::posting:
        return QStringLiteral("Posting to X");
    case Phase::posted:
        return QStringLiteral("Posted to X");
    }
    return {};
}
