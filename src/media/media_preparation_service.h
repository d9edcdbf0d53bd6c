#pragma once

#include "media/video_exporter.h"
#include "model/post.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <functional>

class ImageEncoder;
class PreferenceStore;

// A thread whose videos were exported for publishing, and the files to remove afterwards.
struct PreparedThread {
    QList<Post> posts;
    QStringList temporaryFiles;
};

// Makes a thread's media ready to upload before publishing: each video exported with its
// own preset or the "PublishingExportPreset" preference, only its trim clips kept, its
// captions burned in when asked, the watermark drawn when switched on; each image with
// redactions written again with the rectangles blacked out. All into "Quillo-Video" under
// the temporary folder; the originals are never sent. A thread with neither passes untouched.
class MediaPreparationService : public QObject {
    Q_OBJECT
public:
    // "Compressing videos (" i "/" n ")", and the share done of all videos.
    using Progress = std::function<void(const QString& status, double fraction)>;

    MediaPreparationService(VideoExporter& exporter, ImageEncoder& images, const PreferenceStore& preferences,
                            QString temporaryRoot, QObject* parent = nullptr);

    QString workingFolder() const;
    static int videoCount(const QList<Post>& thread);
    // Whether anything must be made before upload: a video, or an image with redactions.
    static bool needsPreparation(const QList<Post>& thread);

    // Throws VideoPreparationError::compression, or MediaError::cancelled(); the files made
    // so far are then removed.
    QCoro::Task<PreparedThread> prepare(QList<Post> thread, Progress progress);
    void cancel();
    // Removes the exported files once they were uploaded (or publishing gave up).
    static void discard(const PreparedThread& prepared);

private:
    VideoExportRequest requestFor(const PostMedia& item) const;
    QCoro::Task<void> redactImages(PreparedThread& prepared);

    VideoExporter& m_exporter;
    ImageEncoder& m_images;
    const PreferenceStore& m_preferences;
    QString m_temporaryRoot;
    bool m_cancelled = false;
};
