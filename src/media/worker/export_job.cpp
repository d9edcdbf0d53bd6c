#include "media/worker/export_job.h"

#include "media/composition.h"
#include "media/srt_file.h"
#include "media/worker/export_output.h"
#include "media/worker/export_source.h"
#include "media/worker/passthrough_session.h"
#include "media/worker/transcode_session.h"
#include "media/worker/watermark_artwork.h"

#include <QDebug>
#include <QFile>
#include <QTemporaryDir>

namespace {

void log(const QString& line)
{
    qInfo().noquote() << line;
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

Json failure(const char* kind, const QString& message)
{
    return {{"error", kind}, {"message", message.toStdString()}};
}

QString presetList(const QList<ExportSessionPreset>& presets)
{
    QStringList names;
    for (const ExportSessionPreset preset : presets)
        names.append(name(preset));
    return QStringLiteral("[") + names.join(QStringLiteral(", ")) + QStringLiteral("]");
}

// Captions and watermark files live in a scratch folder for the length of the job.
struct Overlays {
    QTemporaryDir scratch{QDir::tempPath() + QStringLiteral("/quillo-export-XXXXXX")};
    QString subtitlesPath;
    std::optional<WatermarkArtwork> watermark;
};

bool prepareOverlays(const VideoExportRequest& request, const Composition& composition, Overlays& overlays, QString* error)
{
    if (!overlays.scratch.isValid()) {
        *error = QStringLiteral("no scratch folder: ") + overlays.scratch.errorString();
        return false;
    }
    const QList<SubtitleSegment> captions = composition.mapSubtitles(request.subtitles);
    if (!captions.isEmpty()) {
        overlays.subtitlesPath = overlays.scratch.filePath(QStringLiteral("captions.srt"));
        QFile file(overlays.subtitlesPath);
        if (!file.open(QIODevice::WriteOnly) || file.write(SrtFile::write(captions)) < 0) {
            *error = QStringLiteral("cannot write the captions: ") + file.errorString();
            return false;
        }
    }
    if (request.watermark) {
        QString why;
        overlays.watermark = WatermarkArtwork::load(*request.watermark, &why);
        // A missing watermark must not stop a post from going out.
        if (!overlays.watermark)
            log(QStringLiteral("VideoEditor: Exporting without the watermark: ") + why);
    }
    return true;
}

SessionOutcome runSession(ExportSessionPreset preset, const ExportSource& source, const Composition& composition,
                          ExportOutput& output, const Overlays& overlays, const SessionHooks& hooks)
{
    if (preset == ExportSessionPreset::passthrough)
        return PassthroughSession(source, composition, output).run(hooks);
    PictureEdits edits;
    edits.subtitlesPath = overlays.subtitlesPath;
    TranscodeSession::OverlayPreparer prepare;
    if (overlays.watermark) {
        prepare = [&overlays](QSize size, PictureEdits& pictureEdits, QString* error) {
            return overlays.watermark->prepare(size, overlays.scratch.path(), pictureEdits, error);
        };
    }
    return TranscodeSession(source, composition, output, preset, edits, prepare).run(hooks);
}

Json completed(const VideoExportRequest& request, ExportSessionPreset preset, const Composition& composition)
{
    return {{"output", request.output.toStdString()}, {"preset", name(preset).toStdString()}, {"duration", composition.duration()}};
}

} // namespace

Json ExportJob::run(const VideoExportRequest& request, const SessionHooks& hooks)
{
    ExportSource::Problem problem{};
    QString error;
    const std::optional<ExportSource> source = ExportSource::open(request.input, &problem, &error);
    if (!source)
        return failure(problem == ExportSource::Problem::noVideo ? "noVideo" : "unreadable", error);
    const std::optional<Composition> composition = Composition::make(source->duration(), request.clips, &error);
    if (!composition)
        return failure("invalidClips", error);
    Overlays overlays;
    if (!prepareOverlays(request, *composition, overlays, &error))
        return failure("unwritable", error);
    const bool drawsOnPicture = !overlays.subtitlesPath.isEmpty() || overlays.watermark.has_value();
    log(QStringLiteral("VideoEditor: Exporting composition with duration %1s, subtitles: %2")
            .arg(composition->duration())
            .arg(request.subtitles.size()));
    log(QStringLiteral("VideoEditor: exportWithPresets - videoComposition present: %1, presets: %2")
            .arg(yesNo(drawsOnPicture), presetList(request.presets)));
    for (const ExportSessionPreset preset : request.presets) {
        log(QStringLiteral("VideoEditor: Trying export with preset: ") + name(preset));
        if (preset == ExportSessionPreset::passthrough && drawsOnPicture) {
            log(QStringLiteral("VideoEditor: Skipping passthrough preset because videoComposition is set"));
            continue;
        }
        ExportOutput output(request.output);
        if (!output.create(&error))
            return failure("unwritable", error);
        SessionHooks sessionHooks = hooks;
        sessionHooks.configured = [&] {
            log(QStringLiteral("VideoEditor: Export session configured - preset: %1, fileType: %2, videoComposition set: %3")
                    .arg(name(preset), ExportOutput::fileTypeFor(request.output), yesNo(drawsOnPicture)));
        };
        const SessionOutcome outcome = runSession(preset, *source, *composition, output, overlays, sessionHooks);
        switch (outcome.status) {
        case SessionOutcome::Status::unavailable:
            log(QStringLiteral("VideoEditor: Cannot use preset %1: %2").arg(name(preset), outcome.error));
            continue;
        case SessionOutcome::Status::completed:
            hooks.progress(1.0);
            log(QStringLiteral("VideoEditor: Export completed with status: completed"));
            log(QStringLiteral("VideoEditor: Export successful, calling onReady"));
            return completed(request, preset, *composition);
        case SessionOutcome::Status::cancelled:
            log(QStringLiteral("VideoEditor: Export completed with status: cancelled"));
            log(QStringLiteral("VideoEditor: Export failed/cancelled, error: cancelled"));
            return failure("cancelled", QStringLiteral("The export was cancelled"));
        case SessionOutcome::Status::failed:
            log(QStringLiteral("VideoEditor: Export completed with status: failed"));
            log(QStringLiteral("VideoEditor: Export failed/cancelled, error: ") + outcome.error);
            return failure("exportFailed", outcome.error);
        }
    }
    log(QStringLiteral("VideoEditor: No more presets to try, export failed"));
    return failure("noPreset", QStringLiteral("No export preset could be used for this video"));
}
