#include "scheduling/media_validator.h"

#include "scheduling/scheduling_log.h"

#include <QFileInfo>

MediaValidator::MediaValidator(MediaProber& prober)
    : m_prober(prober)
{
}

QCoro::Task<MediaValidation> MediaValidator::validate(QList<Post> thread)
{
    MediaValidation result;
    for (qsizetype i = 0; i < thread.size(); ++i) {
        const QList<PostMedia>& items = thread[i].mediaItems;
        for (qsizetype j = 0; j < items.size(); ++j) {
            ++result.totalItems;
            const QString path = items[j].localFile();
            const QString line = QStringLiteral("Post %1, Media %2: %3").arg(i + 1).arg(j + 1).arg(path);
            if (!QFileInfo(path).isFile()) {
                qCWarning(lcScheduler).noquote() << QStringLiteral("❌ Missing media file: ") + path;
                result.missing.append(line);
                continue;
            }
            if (!items[j].isVideo())
                continue;
            const std::optional<MediaFacts> facts = co_await m_prober.probe(path);
            if (!facts || !facts->hasVideo || !(facts->duration > 0)) {
                qCWarning(lcScheduler).noquote() << QStringLiteral("❌ Invalid video file: ") + path;
                result.invalid.append(line);
            }
        }
    }
    if (!result.isValid())
        qCWarning(lcScheduler).noquote() << QStringLiteral("  - Total media items: %1").arg(result.totalItems);
    co_return result;
}
