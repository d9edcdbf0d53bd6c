#pragma once

#include "media/video_exporter.h"
#include "model/post_media.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <functional>

// Applies the trim clips set in the composer: each trimmed video is exported with only its
// kept ranges into "Quillo-TimelineEdits" under the temporary folder, and the item then
// points at that file. One item at a time; cancel stops the running export.
class TimelineTrimService : public QObject {
    Q_OBJECT
public:
    // "Applying video edits (" i "/" n ")", and the share done of all items.
    using Progress = std::function<void(const QString& status, double fraction)>;

    TimelineTrimService(VideoExporter& exporter, QString temporaryRoot, QObject* parent = nullptr);

    QString workingFolder() const;

    // The items with every trimmed video replaced by its trimmed file (clips cleared,
    // duration updated); others unchanged. Throws VideoPreparationError::trim, or
    // MediaError::cancelled(); the files made so far are then removed.
    QCoro::Task<QList<PostMedia>> applyTrimClips(QList<PostMedia> items, Progress progress);
    void cancel();

private:
    VideoExporter& m_exporter;
    QString m_temporaryRoot;
    bool m_cancelled = false;
};
