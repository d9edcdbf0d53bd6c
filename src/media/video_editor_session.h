#pragma once

#include "media/timeline_editor.h"
#include "media/video_exporter.h"
#include "media/worker_envelope_reader.h"
#include "model/post_media.h"
#include "model/video_export_preset.h"

#include <QObject>

#include <qcoro/qcorotask.h>

#include <memory>

class PreferenceStore;

// One video open in the editor, without its window: the timeline (clips, undo, silences),
// the captions, the chosen preset and zoom, and the export. The clip list and its undo
// stack are kept per file, so reopening a video brings its edits back.
class VideoEditorSession : public QObject {
    Q_OBJECT
public:
    static constexpr double kMinZoom = 1.0;
    static constexpr double kMaxZoom = 256.0;
    static constexpr double kZoomStep = 1.5;
    // What the stored undo history keeps at most, oldest dropped first.
    static constexpr qsizetype kMaxStoredUndo = 200;

    VideoEditorSession(PostMedia media, PreferenceStore& preferences, VideoExporter& exporter, QString temporaryRoot,
                       QObject* parent = nullptr);
    ~VideoEditorSession() override;

    // Sets up the timeline over the file's sound levels and restores its stored history.
    void load(const LevelEnvelopeData& envelope);
    bool isLoaded() const { return m_timeline != nullptr; }
    TimelineEditor& timeline() { return *m_timeline; }
    const std::vector<float>& waveform() const { return m_waveform; }
    const PostMedia& media() const { return m_media; }
    QString sourcePath() const { return m_media.localFile(); }

    double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    void zoomIn() { setZoom(m_zoom * kZoomStep); }
    void zoomOut() { setZoom(m_zoom / kZoomStep); }

    VideoExportPreset preset() const { return m_preset; }
    void setPreset(VideoExportPreset preset);

    const QList<SubtitleSegment>& subtitles() const { return m_subtitles; }
    void setSubtitles(QList<SubtitleSegment> subtitles);
    bool burnsSubtitles() const { return m_burnSubtitles; }
    void setBurnsSubtitles(bool burn) { m_burnSubtitles = burn; }

    // The media item with the edits as fields (clips, captions, preset): publishing renders
    // them, the file itself stays untouched.
    PostMedia editedMedia() const;

    // Exports the kept clips with the chosen preset into "Quillo-Video" under the temporary
    // folder, in the container `extension` names ("mp4" when empty); throws MediaError
    // (cancelled too). The returned file is the caller's.
    QCoro::Task<QString> exportVideo(QString extension = {});
    void cancelExport();
    bool isExporting() const { return m_exporting; }
    // Copies an export over `destination` (a file already there is replaced).
    static bool saveExport(const QString& exported, const QString& destination);

    // "clip-social.mp4" for "clip.mov" and socialMedia; the original preset keeps the extension.
    static QString suggestedFileName(const QString& source, VideoExportPreset preset);
    // The description a person picks a preset by.
    static QString description(VideoExportPreset preset);
    static QList<VideoExportPreset> presets();
    // The preference key of a file's stored clip history.
    static QString historyKey(const QString& path);

Q_SIGNALS:
    void loaded();
    void zoomChanged(double zoom);
    void subtitlesChanged();
    void exportProgress(double fraction);
    void exportingChanged(bool exporting);

private:
    void saveHistory() const;
    void restoreHistory();

    PostMedia m_media;
    PreferenceStore& m_preferences;
    VideoExporter& m_exporter;
    QString m_temporaryRoot;
    std::unique_ptr<TimelineEditor> m_timeline;
    std::vector<float> m_waveform;
    QList<SubtitleSegment> m_subtitles;
    bool m_burnSubtitles = false;
    double m_zoom = kMinZoom;
    VideoExportPreset m_preset = kDefaultVideoExportPreset;
    bool m_exporting = false;
};
