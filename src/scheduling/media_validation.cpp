#include "scheduling/media_validation.h"

QString MediaValidation::errorDescription() const
{
    QString text = QStringLiteral("Cannot publish scheduled post due to media issues:\n");
    if (!missing.isEmpty())
        text += QStringLiteral("\n📁 Missing files:\n") + missing.join(QLatin1Char('\n'));
    if (!invalid.isEmpty())
        text += QStringLiteral("\n\n🎥 Invalid videos:\n") + invalid.join(QLatin1Char('\n'));
    return text + QStringLiteral("\n\nThe media files may have been moved or deleted. Please reschedule this post with valid media.");
}
