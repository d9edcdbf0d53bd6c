#include "media/timeline_trim_service.h"

#include "media/media_error.h"
#include "media/media_log.h"
#include "media/video_preparation_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

bool isTrimmed(const PostMedia& item)
{
    return item.isVideo() && item.trimClips && !item.trimClips->isEmpty();
}

QList<TimeRange> rangesOf(const QList<ClipSegment>& clips)
{
    QList<TimeRange> ranges;
    for (const ClipSegment& clip : clips)
        ranges.append(TimeRange{clip.start, clip.end});
    return ranges;
}

void removeAll(const QStringList& files)
{
    for (const QString& file : files)
        QFile::remove(file);
}

} // namespace

TimelineTrimService::TimelineTrimService(VideoExporter& exporter, QString temporaryRoot, QObject* parent)
    : QObject(parent)
    , m_exporter(exporter)
    , m_temporaryRoot(std::move(temporaryRoot))
{
}

QString TimelineTrimService::workingFolder() const
{
    return QDir(m_temporaryRoot).filePath(QStringLiteral("Quillo-TimelineEdits"));
}

void TimelineTrimService::cancel()
{
    m_cancelled = true;
    m_exporter.cancel();
}

QCoro::Task<QList<PostMedia>> TimelineTrimService::applyTrimClips(QList<PostMedia> items, Progress progress)
{
    m_cancelled = false;
    const qsizetype total = std::count_if(items.cbegin(), items.cend(), isTrimmed);
    if (total == 0)
        co_return items;
    if (!QDir().mkpath(workingFolder()))
        throw VideoPreparationError::trim(QStringLiteral("cannot create ") + workingFolder());
    QStringList made;
    qsizetype number = 0;
    for (PostMedia& item : items) {
        if (!isTrimmed(item))
            continue;
        const QString status = QStringLiteral("Applying video edits (%1/%2)").arg(++number).arg(total);
        progress(status, double(number - 1) / double(total));
        VideoExportRequest request;
        request.input = item.localFile();
        const QString suffix = QFileInfo(request.input).suffix().isEmpty() ? QStringLiteral("mp4") : QFileInfo(request.input).suffix();
        request.output = QDir(workingFolder()).filePath(item.id.toString(QUuid::WithoutBraces) + QStringLiteral(".") + suffix);
        // Re-encoding cuts exactly where the person cut; a copy only where key frames are.
        request.presets = {ExportSessionPreset::highestQuality, ExportSessionPreset::passthrough};
        request.clips = rangesOf(*item.trimClips);
        QFile::remove(request.output);
        try {
            const VideoExporter::Progress onProgress = [&](double fraction) {
                progress(status, (double(number - 1) + std::clamp(fraction, 0.0, 1.0)) / double(total));
            };
            QCoro::Task<QString> exporting = m_exporter.exportVideo(request, onProgress);
            const QString output = co_await std::move(exporting);
            made.append(output);
            double duration = 0;
            for (const TimeRange& range : request.clips)
                duration += range.duration();
            item.originalPath = FileUrl::fromLocalFile(output);
            item.videoDuration = duration;
            item.trimClips.reset();
        } catch (const MediaError& error) {
            removeAll(made);
            if (m_cancelled || error.kind() == MediaError::Kind::cancelled)
                throw MediaError::cancelled();
            qCWarning(lcMedia).noquote() << "Trimming failed for media:" << item.id.toString(QUuid::WithoutBraces) << "-"
                                         << error.message();
            throw VideoPreparationError::trim(error.message());
        }
    }
    progress(QStringLiteral("Applying video edits"), 1.0);
    co_return items;
}
