#include "media/video_editor_session.h"

#include "core/json.h"
#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/export_session_preset.h"
#include "media/media_error.h"
#include "media/media_log.h"
#include "media/watermark.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

const QString kHistoryPrefix = QStringLiteral("VideoEditor.trimUndoHistory.");

Json clipsToJson(const QList<ClipSegment>& clips)
{
    Json array = Json::array();
    for (const ClipSegment& clip : clips)
        array.push_back({{"id", clip.id.toString(QUuid::WithoutBraces).toUpper().toStdString()},
                         {"start", clip.start},
                         {"end", clip.end}});
    return array;
}

// Nothing when any entry is not a clip of the file (a hand-edited or older document).
std::optional<QList<ClipSegment>> clipsFromJson(const Json& array, double duration)
{
    if (!array.is_array())
        return std::nullopt;
    QList<ClipSegment> clips;
    for (const Json& entry : array) {
        if (!entry.is_object() || !entry.value("start", Json()).is_number() || !entry.value("end", Json()).is_number())
            return std::nullopt;
        const ClipSegment clip{QUuid::fromString(QString::fromStdString(entry.value("id", std::string()))),
                               entry["start"].get<double>(), entry["end"].get<double>()};
        if (clip.id.isNull() || clip.start < 0 || clip.end <= clip.start || clip.end > duration + 0.1)
            return std::nullopt;
        clips.append(clip);
    }
    return clips;
}

QString suffixOf(VideoExportPreset preset)
{
    switch (preset) {
    case VideoExportPreset::original:
        return QStringLiteral("-edited");
    case VideoExportPreset::socialMedia:
        return QStringLiteral("-social");
    case VideoExportPreset::hd:
        return QStringLiteral("-hd");
    case VideoExportPreset::fullHD:
        return QStringLiteral("-fullhd");
    case VideoExportPreset::fourK:
        return QStringLiteral("-4k");
    }
    return QString();
}

} // namespace

VideoEditorSession::VideoEditorSession(PostMedia media, PreferenceStore& preferences, VideoExporter& exporter,
                                       QString temporaryRoot, QObject* parent)
    : QObject(parent)
    , m_media(std::move(media))
    , m_preferences(preferences)
    , m_exporter(exporter)
    , m_temporaryRoot(std::move(temporaryRoot))
{
    m_zoom = std::clamp(preferences.doubleValue(PreferenceKeys::VideoEditorTimelineZoom).value_or(kMinZoom), kMinZoom, kMaxZoom);
    const auto presetRaw = m_media.renderedExportPreset ? m_media.renderedExportPreset
                                                        : preferences.stringValue(PreferenceKeys::VideoEditorExportPreset);
    m_preset = videoExportPresetFromRawValue(presetRaw.value_or(QString())).value_or(kDefaultVideoExportPreset);
    if (m_media.subtitles) {
        m_subtitles = m_media.subtitles->segments;
        m_burnSubtitles = m_media.areSubtitlesRendered;
    }
}

VideoEditorSession::~VideoEditorSession() = default;

void VideoEditorSession::load(const LevelEnvelopeData& envelope)
{
    const double duration = envelope.duration > 0 ? envelope.duration : m_media.videoDuration.value_or(0);
    QList<ClipSegment> clips = m_media.trimClips.value_or(QList<ClipSegment>());
    if (clips.isEmpty() && duration > 0)
        clips.append(ClipSegment{QUuid::createUuid(), 0, duration});
    m_timeline = std::make_unique<TimelineEditor>(duration, clips);
    m_waveform = envelope.levels;
    m_timeline->setWaveform(envelope.levels);
    m_media.videoDuration = duration;
    restoreHistory();
    connect(m_timeline.get(), &TimelineEditor::clipsChanged, this, &VideoEditorSession::saveHistory);
    qCInfo(lcMedia).noquote() << QStringLiteral("🎬 Video editor opened %1 (%2 s, %3 clip(s))")
                                     .arg(QFileInfo(sourcePath()).fileName())
                                     .arg(duration, 0, 'f', 2)
                                     .arg(m_timeline->clips().size());
    Q_EMIT loaded();
}

QString VideoEditorSession::historyKey(const QString& path)
{
    const QByteArray canonical = QFileInfo(path).absoluteFilePath().toUtf8();
    return kHistoryPrefix + QString::fromLatin1(QCryptographicHash::hash(canonical, QCryptographicHash::Sha1).toHex());
}

void VideoEditorSession::saveHistory() const
{
    Json undo = Json::array();
    const auto& stack = m_timeline->undoStack();
    for (qsizetype i = std::max<qsizetype>(0, stack.size() - kMaxStoredUndo); i < stack.size(); ++i)
        undo.push_back(clipsToJson(stack[i]));
    const Json document{{"clips", clipsToJson(m_timeline->clips())}, {"undo", undo}};
    if (!m_preferences.setData(historyKey(sourcePath()), QByteArray::fromStdString(document.dump())))
        qCWarning(lcMedia).noquote() << "⚠️ The video editor's history could not be saved for" << sourcePath();
}

// The stored history comes back when the item carries no clips of its own, or the same
// clips the history ended with; clips set elsewhere win over an older history.
void VideoEditorSession::restoreHistory()
{
    const auto bytes = m_preferences.data(historyKey(sourcePath()));
    if (!bytes)
        return;
    const Json document = JsonValues::parseOrDiscard(bytes->toStdString());
    const double duration = m_timeline->duration();
    const auto clips = clipsFromJson(document.is_object() ? document.value("clips", Json()) : Json(), duration);
    if (!clips || clips->isEmpty())
        return;
    if (m_media.trimClips && !m_media.trimClips->isEmpty() && *m_media.trimClips != *clips)
        return;
    QList<QList<ClipSegment>> undo;
    for (const Json& entry : document.value("undo", Json::array())) {
        const auto previous = clipsFromJson(entry, duration);
        if (!previous)
            return;
        undo.append(*previous);
    }
    m_timeline->restore(*clips, undo);
}

void VideoEditorSession::setZoom(double zoom)
{
    zoom = std::clamp(zoom, kMinZoom, kMaxZoom);
    if (zoom == m_zoom)
        return;
    m_zoom = zoom;
    m_preferences.setValue(PreferenceKeys::VideoEditorTimelineZoom, zoom);
    Q_EMIT zoomChanged(zoom);
}

void VideoEditorSession::setPreset(VideoExportPreset preset)
{
    m_preset = preset;
    m_preferences.setValue(PreferenceKeys::VideoEditorExportPreset, rawValue(preset));
}

void VideoEditorSession::setSubtitles(QList<SubtitleSegment> subtitles)
{
    m_subtitles = std::move(subtitles);
    Q_EMIT subtitlesChanged();
}

PostMedia VideoEditorSession::editedMedia() const
{
    PostMedia edited = m_media;
    const QList<ClipSegment>& clips = m_timeline->clips();
    const bool whole = clips.size() == 1 && clips.first().start <= 0 && clips.first().end >= m_timeline->duration();
    edited.trimClips = whole ? std::nullopt : std::optional(clips);
    edited.renderedExportPreset = rawValue(m_preset);
    if (m_subtitles.isEmpty()) {
        edited.subtitles.reset();
        edited.areSubtitlesRendered = false;
        return edited;
    }
    SubtitleTrack track = m_media.subtitles.value_or(SubtitleTrack{});
    track.segments = m_subtitles;
    if (!track.generator)
        track.generator = QStringLiteral("Quillo video editor");
    edited.subtitles = track;
    edited.areSubtitlesRendered = m_burnSubtitles;
    return edited;
}

QCoro::Task<QString> VideoEditorSession::exportVideo(QString extension)
{
    if (m_exporting)
        throw MediaError::invalidRequest(QStringLiteral("An export is already running"));
    QDir folder(QDir(m_temporaryRoot).filePath(QStringLiteral("Quillo-Video")));
    if (!folder.mkpath(QStringLiteral(".")))
        throw MediaError::outputFailed(folder.path() + QStringLiteral(": cannot be created"));
    VideoExportRequest request;
    request.input = sourcePath();
    const QString name = QFileInfo(suggestedFileName(sourcePath(), m_preset)).completeBaseName();
    request.output = folder.filePath(QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral("-") + name
                                     + QStringLiteral(".") + (extension.isEmpty() ? QStringLiteral("mp4") : extension));
    request.presets = sessionPresetsFor(m_preset);
    for (const ClipSegment& clip : m_timeline->clips())
        request.clips.append(TimeRange{clip.start, clip.end});
    if (m_burnSubtitles)
        request.subtitles = m_subtitles;
    request.watermark = Watermark::fromPreferences(m_preferences);
    m_exporting = true;
    Q_EMIT exportingChanged(true);
    qCInfo(lcMedia).noquote() << QStringLiteral("VideoEditor: Exporting composition with %1 clip(s), subtitles: %2")
                                     .arg(request.clips.size())
                                     .arg(request.subtitles.size());
    try {
        QCoro::Task<QString> running = m_exporter.exportVideo(request, [this](double fraction) { Q_EMIT exportProgress(fraction); });
        QString path = co_await std::move(running);
        m_exporting = false;
        Q_EMIT exportingChanged(false);
        co_return path;
    } catch (...) {
        m_exporting = false;
        Q_EMIT exportingChanged(false);
        throw;
    }
}

void VideoEditorSession::cancelExport()
{
    if (m_exporting)
        m_exporter.cancel();
}

bool VideoEditorSession::saveExport(const QString& exported, const QString& destination)
{
    if (QFileInfo(exported).absoluteFilePath() == QFileInfo(destination).absoluteFilePath())
        return true;
    if (QFile::exists(destination) && !QFile::remove(destination))
        return false;
    return QFile::copy(exported, destination);
}

QString VideoEditorSession::suggestedFileName(const QString& source, VideoExportPreset preset)
{
    const QFileInfo info(source);
    const QString extension = preset == VideoExportPreset::original && !info.suffix().isEmpty() ? info.suffix()
                                                                                                : QStringLiteral("mp4");
    return info.completeBaseName() + suffixOf(preset) + QStringLiteral(".") + extension;
}

QString VideoEditorSession::description(VideoExportPreset preset)
{
    switch (preset) {
    case VideoExportPreset::original:
        return QStringLiteral("Keep original quality and resolution");
    case VideoExportPreset::socialMedia:
        return QStringLiteral("Optimized for social media platforms");
    case VideoExportPreset::hd:
        return QStringLiteral("Standard HD quality (1280×720)");
    case VideoExportPreset::fullHD:
        return QStringLiteral("Full HD quality (1920×1080)");
    case VideoExportPreset::fourK:
        return QStringLiteral("Ultra HD 4K quality (3840×2160)");
    }
    return QString();
}

QList<VideoExportPreset> VideoEditorSession::presets()
{
    return {VideoExportPreset::original, VideoExportPreset::socialMedia, VideoExportPreset::hd,
            VideoExportPreset::fullHD, VideoExportPreset::fourK};
}
