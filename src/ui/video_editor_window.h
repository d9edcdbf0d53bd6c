#pragma once

#include "media/video_editor_session.h"
#include "media/worker_envelope_reader.h"
#include "media/worker_frame_reader.h"
#include "media/worker_video_exporter.h"
#include "ui/media_file_dialogs.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <qcoro/qcorotask.h>

class QAction;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSplitter;
class QToolBar;
class SubtitlePanel;
class TimelineView;

// The video editor: a preview of the picture at the playhead (decoded by the media worker,
// advanced by Play/Pause without sound), the timeline with its edits and undo, the captions
// panel, and export with a preset to a file or back into the post ("Use in post").
class VideoEditorWindow : public QWidget {
    Q_OBJECT
public:
    VideoEditorWindow(PostMedia media, PreferenceStore& preferences, const QString& workerPath, MediaFileDialogs dialogs,
                      QWidget* parent = nullptr);
    ~VideoEditorWindow() override;

    // Reads the sound levels and sets up the timeline; false when the file is not a video.
    QCoro::Task<bool> load();
    VideoEditorSession& session() { return m_session; }
    TimelineView* timelineView() const { return m_timeline; }
    SubtitlePanel* subtitlePanel() const { return m_subtitles; }
    QComboBox* presetBox() const { return m_presets; }
    QLabel* zoomReadout() const { return m_zoomReadout; }
    QLabel* preview() const { return m_preview; }
    QString status() const;
    // A toolbar action by its label, e.g. "Split at current time".
    QAction* action(const QString& text) const;
    bool isPlaying() const { return m_playTimer.isActive(); }
    // Deletes itself once closed, after a running export has stopped.
    void setDeleteWhenClosed(bool on) { m_deleteWhenClosed = on; }

    // "splitAtPlayhead", "detectSilenceAndSplit" or "removeDetectedSilences".
    QCoro::Task<bool> perform(QString action);
    // Asks where to save, exports with the chosen preset and copies the result there.
    QCoro::Task<bool> exportToFile();
    void seek(double seconds);
    void togglePlayback();

Q_SIGNALS:
    // "Use in post": the item with the clips, captions and preset as fields.
    void mediaEdited(const PostMedia& media);
    void exportFinished(bool saved);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QToolBar* buildTransportBar();
    QToolBar* buildEditBar();
    QList<QAction*> allActions() const;
    QWidget* buildExportRow();
    QAction* addAction(QToolBar* toolbar, const QString& text, std::function<void()> run);
    void runTimelineAction(const QString& name);
    void nudge(double delta);
    void advancePlayback();
    void refreshState();
    void showFailure(const QString& detail);
    void setStatus(const QString& text);
    QCoro::Task<void> refreshPreview();
    void usePost();

    WorkerVideoExporter m_exporter;
    VideoEditorSession m_session;
    WorkerEnvelopeReader m_envelopes;
    WorkerFrameReader m_frames;
    PreferenceStore& m_preferences;
    MediaFileDialogs m_dialogs;
    QTemporaryDir m_previewFolder;
    QLabel* m_preview;
    QLabel* m_time;
    TimelineView* m_timeline;
    SubtitlePanel* m_subtitles;
    QSplitter* m_splitter;
    QToolBar* m_transport;
    QToolBar* m_edits;
    QLabel* m_zoomReadout;
    QComboBox* m_presets;
    QLabel* m_presetDescription;
    QProgressBar* m_progress;
    QPushButton* m_export;
    QPushButton* m_cancel;
    QPushButton* m_use;
    QLabel* m_status;
    QTimer m_playTimer;
    QElapsedTimer m_playClock;
    bool m_deleteWhenClosed = false;
    bool m_previewBusy = false;
    double m_previewShown = -1;
};
