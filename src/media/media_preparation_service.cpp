#include "media/media_preparation_service.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/composition.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "media/media_log.h"
#include "media/video_preparation_error.h"

#include <QDir>
#include <QFile>

MediaPreparationService::MediaPreparationService(VideoExporter& exporter, ImageEncoder& images,
                                                 const PreferenceStore& preferences, QString temporaryRoot, QObject* parent)
    : QObject(parent)
    , m_exporter(exporter)
    , m_images(images)
    , m_preferences(preferences)
    , m_temporaryRoot(std::move(temporaryRoot))
{
}

QString MediaPreparationService::workingFolder() const
{
    return QDir(m_temporaryRoot).filePath(QStringLiteral("Quillo-Video"));
}

int MediaPreparationService::videoCount(const QList<Post>& thread)
{
    int count = 0;
    for (const Post& post : thread)
        count += int(std::count_if(post.mediaItems.cbegin(), post.mediaItems.cend(), [](const PostMedia& item) { return item.isVideo(); }));
    return count;
}

bool MediaPreparationService::needsPreparation(const QList<Post>& thread)
{
    for (const Post& post : thread) {
        for (const PostMedia& item : post.mediaItems) {
            if (item.isVideo() || !item.redactions.isEmpty())
                return true;
        }
    }
    return false;
}

QCoro::Task<void> MediaPreparationService::redactImages(PreparedThread& prepared)
{
    for (Post& post : prepared.posts) {
        for (PostMedia& item : post.mediaItems) {
            if (!item.isImage() || item.redactions.isEmpty())
                continue;
            ImageEncodeRequest request;
            request.input = item.localFile();
            request.format = ImageFormat::png;
            request.redactions = item.redactions;
            QCoro::Task<QByteArray> encoding = m_images.encode(request);
            const QByteArray png = co_await std::move(encoding);
            const QString output = QDir(workingFolder()).filePath(item.id.toString(QUuid::WithoutBraces) + QStringLiteral("-redacted.png"));
            QFile file(output);
            if (!file.open(QIODevice::WriteOnly) || file.write(png) != png.size())
                throw MediaError::outputFailed(output + QStringLiteral(": ") + file.errorString());
            prepared.temporaryFiles.append(output);
            item.originalPath = FileUrl::fromLocalFile(output);
            item.redactions.clear();
        }
    }
}

void MediaPreparationService::cancel()
{
    m_cancelled = true;
    m_exporter.cancel();
}

void MediaPreparationService::discard(const PreparedThread& prepared)
{
    for (const QString& file : prepared.temporaryFiles)
        QFile::remove(file);
}

VideoExportRequest MediaPreparationService::requestFor(const PostMedia& item) const
{
    const QString chosen = item.renderedExportPreset.value_or(
        m_preferences.valueOrDefault(PreferenceKeys::PublishingExportPreset).toString());
    VideoExportRequest request;
    request.input = item.localFile();
    request.output = QDir(workingFolder()).filePath(item.id.toString(QUuid::WithoutBraces) + QStringLiteral(".mp4"));
    request.presets = sessionPresetsFor(videoExportPresetFromRawValue(chosen).value_or(kDefaultVideoExportPreset));
    for (const ClipSegment& clip : item.trimClips.value_or(QList<ClipSegment>()))
        request.clips.append(TimeRange{clip.start, clip.end});
    if (item.areSubtitlesRendered && item.subtitles)
        request.subtitles = item.subtitles->segments;
    request.watermark = Watermark::fromPreferences(m_preferences);
    return request;
}

QCoro::Task<PreparedThread> MediaPreparationService::prepare(QList<Post> thread, Progress progress)
{
    m_cancelled = false;
    PreparedThread prepared{std::move(thread), {}};
    if (!needsPreparation(prepared.posts))
        co_return prepared;
    if (!QDir().mkpath(workingFolder()))
        throw VideoPreparationError::compression(QStringLiteral("cannot create ") + workingFolder());
    try {
        QCoro::Task<void> redacting = redactImages(prepared);
        co_await std::move(redacting);
    } catch (const MediaError& error) {
        discard(prepared);
        // Never the original instead: what was to be hidden would be published.
        qCWarning(lcMedia).noquote() << QStringLiteral("Redaction failed: ") + error.message();
        throw VideoPreparationError::redaction(error.message());
    }
    const int total = videoCount(prepared.posts);
    int number = 0;
    for (Post& post : prepared.posts) {
        for (PostMedia& item : post.mediaItems) {
            if (!item.isVideo())
                continue;
            const QString status = QStringLiteral("Compressing videos (%1/%2)").arg(++number).arg(total);
            progress(status, double(number - 1) / total);
            const VideoExportRequest request = requestFor(item);
            QFile::remove(request.output);
            const VideoExporter::Progress onProgress = [&](double fraction) {
                progress(status, (number - 1 + std::clamp(fraction, 0.0, 1.0)) / total);
            };
            try {
                QCoro::Task<QString> exporting = m_exporter.exportVideo(request, onProgress);
                const QString output = co_await std::move(exporting);
                prepared.temporaryFiles.append(output);
                item.originalPath = FileUrl::fromLocalFile(output);
                item.trimClips.reset();
            } catch (const MediaError& error) {
                discard(prepared);
                if (m_cancelled || error.kind() == MediaError::Kind::cancelled)
                    throw MediaError::cancelled();
                qCWarning(lcMedia).noquote() << QStringLiteral("Compression failed for media: %1 - %2")
                                                    .arg(item.id.toString(QUuid::WithoutBraces), error.message());
                throw VideoPreparationError::compression(error.message());
            }
        }
    }
    co_return prepared;
}
