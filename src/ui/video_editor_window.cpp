#include "ui/video_editor_window.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "media/media_error.h"
#include "ui/subtitle_panel.h"
#include "ui/timeline_view.h"
#include "ui/ui_log.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStandardPaths>
#include <QToolBar>
#include <QVBoxLayout>

#include <qcoro/qcorotimer.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kPreviewWidth = 640;
constexpr int kPlaybackTickMs = 40;
constexpr int kDefaultPanelWidth = 380;

QString clockText(double seconds)
{
    const auto tenths = qint64(std::llround(std::max(0.0, seconds) * 10));
    return QStringLiteral("%1:%2.%3")
        .arg(tenths / 600, 2, 10, QLatin1Char('0'))
        .arg(tenths / 10 % 60, 2, 10, QLatin1Char('0'))
        .arg(tenths % 10);
}

} // namespace

VideoEditorWindow::VideoEditorWindow(PostMedia media, PreferenceStore& preferences, const QString& workerPath,
                                     MediaFileDialogs dialogs, QWidget* parent)
    : QWidget(parent)
    , m_exporter(workerPath)
    , m_session(std::move(media), preferences, m_exporter, QDir::tempPath())
    , m_envelopes(workerPath)
    , m_frames(workerPath)
    , m_preferences(preferences)
    , m_dialogs(std::move(dialogs))
    , m_preview(new QLabel(tr("Preview"), this))
    , m_time(new QLabel(this))
    , m_timeline(new TimelineView(m_session, this))
    , m_subtitles(new SubtitlePanel(m_session, m_dialogs, this))
    , m_splitter(new QSplitter(Qt::Horizontal, this))
    , m_zoomReadout(new QLabel(this))
    , m_status(new QLabel(this))
{
    setWindowTitle(tr("Edit Video — %1").arg(QFileInfo(m_session.sourcePath()).fileName()));
    m_preview->setAlignment(Qt::AlignCenter);
    m_preview->setMinimumSize(320, 180);
    m_preview->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_preview->setStyleSheet(QStringLiteral("background: black; color: #bbb"));
    m_status->setWordWrap(true);
    m_transport = buildTransportBar();
    m_edits = buildEditBar();

    auto* editing = new QWidget(m_splitter);
    auto* editingLayout = new QVBoxLayout(editing);
    editingLayout->setContentsMargins(0, 0, 0, 0);
    editingLayout->addWidget(m_preview, 1);
    editingLayout->addWidget(m_time, 0, Qt::AlignHCenter);
    editingLayout->addWidget(m_transport);
    editingLayout->addWidget(m_edits);
    editingLayout->addWidget(m_timeline);
    m_splitter->addWidget(editing);
    m_splitter->addWidget(m_subtitles);
    m_splitter->setStretchFactor(0, 1);
    const int panel = int(preferences.doubleValue(PreferenceKeys::VideoEditorSubtitlePanelWidth).value_or(kDefaultPanelWidth));
    m_splitter->setSizes({900, std::max(120, panel)});
    connect(m_splitter, &QSplitter::splitterMoved, this, [this] {
        m_preferences.setValue(PreferenceKeys::VideoEditorSubtitlePanelWidth, double(m_splitter->sizes().value(1)));
    });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(buildExportRow());
    layout->addWidget(m_status);

    m_playTimer.setInterval(kPlaybackTickMs);
    connect(&m_playTimer, &QTimer::timeout, this, &VideoEditorWindow::advancePlayback);
    connect(m_timeline, &TimelineView::seekRequested, this, &VideoEditorWindow::seek);
    connect(&m_session, &VideoEditorSession::zoomChanged, this, &VideoEditorWindow::refreshState);
    connect(&m_session, &VideoEditorSession::exportProgress, this,
            [this](double fraction) { m_progress->setValue(int(fraction * 100)); });
    connect(&m_session, &VideoEditorSession::exportingChanged, this, &VideoEditorWindow::refreshState);
    resize(1180, 720);
    refreshState();
}

VideoEditorWindow::~VideoEditorWindow() = default;

QToolBar* VideoEditorWindow::buildTransportBar()
{
    auto* toolbar = new QToolBar(this);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    addAction(toolbar, tr("Go to start"), [this] { seek(0); });
    addAction(toolbar, tr("Play/Pause (Space)"), [this] { togglePlayback(); });
    addAction(toolbar, tr("Go to end"), [this] { seek(m_session.timeline().duration()); });
    toolbar->addSeparator();
    addAction(toolbar, tr("Zoom out"), [this] { m_session.zoomOut(); });
    addAction(toolbar, tr("Zoom in"), [this] { m_session.zoomIn(); });
    auto* zoom = new QWidget(toolbar);
    auto* zoomLayout = new QVBoxLayout(zoom);
    zoomLayout->setContentsMargins(6, 0, 6, 0);
    zoomLayout->setSpacing(0);
    auto* zoomTitle = new QLabel(tr("Timeline zoom"), zoom);
    QFont small = zoomTitle->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    zoomTitle->setFont(small);
    zoomLayout->addWidget(zoomTitle);
    zoomLayout->addWidget(m_zoomReadout);
    toolbar->addWidget(zoom);
    return toolbar;
}

QToolBar* VideoEditorWindow::buildEditBar()
{
    auto* toolbar = new QToolBar(this);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    addAction(toolbar, tr("Split at current time"), [this] { runTimelineAction(QStringLiteral("splitAtPlayhead")); });
    addAction(toolbar, tr("Earlier (−0.1s)"), [this] { nudge(-0.1); });
    addAction(toolbar, tr("Later (+0.1s)"), [this] { nudge(0.1); });
    toolbar->addSeparator();
    addAction(toolbar, tr("Auto-split at silence"), [this] { runTimelineAction(QStringLiteral("detectSilenceAndSplit")); });
    addAction(toolbar, tr("Remove detected silences"), [this] { runTimelineAction(QStringLiteral("removeDetectedSilences")); });
    toolbar->addSeparator();
    QAction* undo = addAction(toolbar, tr("Undo"), [this] {
        if (m_session.timeline().undo())
            qCInfo(lcUi).noquote() << "↩️ Video editor: undo";
    });
    undo->setShortcut(QKeySequence::Undo);
    undo->setShortcutContext(Qt::WindowShortcut);
    return toolbar;
}

QList<QAction*> VideoEditorWindow::allActions() const
{
    return m_transport->actions() + m_edits->actions();
}

QAction* VideoEditorWindow::addAction(QToolBar* toolbar, const QString& text, std::function<void()> run)
{
    QAction* action = toolbar->addAction(text);
    connect(action, &QAction::triggered, this, [run = std::move(run)] { run(); });
    return action;
}

QWidget* VideoEditorWindow::buildExportRow()
{
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    m_presets = new QComboBox(row);
    for (const VideoExportPreset preset : VideoEditorSession::presets()) {
        m_presets->addItem(title(preset), rawValue(preset));
        m_presets->setItemData(m_presets->count() - 1, VideoEditorSession::description(preset), Qt::ToolTipRole);
    }
    m_presets->setCurrentIndex(int(VideoEditorSession::presets().indexOf(m_session.preset())));
    m_presetDescription = new QLabel(row);
    m_progress = new QProgressBar(row);
    m_progress->setRange(0, 100);
    m_progress->setMaximumWidth(180);
    m_export = new QPushButton(tr("Export…"), row);
    m_cancel = new QPushButton(tr("Cancel"), row);
    m_use = new QPushButton(tr("Use in post"), row);
    m_use->setDefault(true);
    layout->addWidget(new QLabel(tr("Export preset:"), row));
    layout->addWidget(m_presets);
    layout->addWidget(m_presetDescription, 1);
    layout->addWidget(m_progress);
    layout->addWidget(m_cancel);
    layout->addWidget(m_export);
    layout->addWidget(m_use);
    connect(m_presets, &QComboBox::currentIndexChanged, this, [this](int index) {
        m_session.setPreset(VideoEditorSession::presets().value(index, kDefaultVideoExportPreset));
        refreshState();
    });
    connect(m_export, &QPushButton::clicked, this, [this] { QCoro::connect(exportToFile(), this, [](bool) {}); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_session.cancelExport(); });
    connect(m_use, &QPushButton::clicked, this, &VideoEditorWindow::usePost);
    return row;
}

QCoro::Task<bool> VideoEditorWindow::load()
{
    setStatus(tr("Reading the sound track…"));
    QPointer<VideoEditorWindow> self(this);
    QCoro::Task<std::optional<LevelEnvelopeData>> reading = m_envelopes.read(m_session.sourcePath());
    const std::optional<LevelEnvelopeData> envelope = co_await std::move(reading);
    if (!self)
        co_return false;
    if (!envelope || envelope->duration <= 0) {
        setStatus(tr("%1 cannot be opened as a video.").arg(QFileInfo(m_session.sourcePath()).fileName()));
        qCWarning(lcUi).noquote() << "❌ Video editor could not read" << m_session.sourcePath();
        co_return false;
    }
    m_session.load(*envelope);
    m_timeline->reload();
    connect(&m_session.timeline(), &TimelineEditor::clipsChanged, this, &VideoEditorWindow::refreshState);
    connect(&m_session.timeline(), &TimelineEditor::detectingChanged, this, &VideoEditorWindow::refreshState);
    setStatus(QString());
    refreshState();
    QCoro::connect(refreshPreview(), this, [] {});
    co_return true;
}

QAction* VideoEditorWindow::action(const QString& text) const
{
    for (QAction* candidate : allActions()) {
        if (candidate->text() == text)
            return candidate;
    }
    return nullptr;
}

QString VideoEditorWindow::status() const
{
    return m_status->text();
}

void VideoEditorWindow::setStatus(const QString& text)
{
    m_status->setText(text);
}

void VideoEditorWindow::refreshState()
{
    const bool loaded = m_session.isLoaded();
    const bool exporting = m_session.isExporting();
    const bool detecting = loaded && m_session.timeline().isDetectingSilence();
    for (QAction* action : allActions())
        action->setEnabled(loaded && !exporting && !detecting);
    m_zoomReadout->setText(QString::asprintf("%.2fx", m_session.zoom()));
    m_presetDescription->setText(VideoEditorSession::description(m_session.preset()));
    m_progress->setVisible(exporting);
    m_cancel->setVisible(exporting);
    m_export->setEnabled(loaded && !exporting);
    m_use->setEnabled(loaded && !exporting);
    if (loaded) {
        const TimelineEditor& timeline = m_session.timeline();
        double kept = 0;
        for (const ClipSegment& clip : timeline.clips())
            kept += clip.duration();
        m_time->setText(tr("%1 / %2 · %n clip(s), %3 kept", nullptr, int(timeline.clips().size()))
                            .arg(clockText(timeline.playhead()), clockText(timeline.duration()), clockText(kept)));
    }
    m_timeline->update();
}

void VideoEditorWindow::runTimelineAction(const QString& name)
{
    QCoro::connect(perform(name), this, [](bool) {});
}

QCoro::Task<bool> VideoEditorWindow::perform(QString action)
{
    if (!m_session.isLoaded())
        co_return false;
    QPointer<VideoEditorWindow> self(this);
    const qsizetype before = m_session.timeline().clips().size();
    QCoro::Task<bool> running = m_session.timeline().perform(action);
    const bool changed = co_await std::move(running);
    if (!self)
        co_return false;
    const qsizetype after = m_session.timeline().clips().size();
    qCInfo(lcUi).noquote() << QStringLiteral("✂️ Video editor %1: %2 → %3 clip(s)").arg(action).arg(before).arg(after);
    if (!changed && action != QStringLiteral("splitAtPlayhead"))
        setStatus(tr("No silence was found in the sound track."));
    else
        setStatus(QString());
    co_return changed;
}

void VideoEditorWindow::nudge(double delta)
{
    if (m_session.isLoaded() && m_session.timeline().nudgeEdge(m_session.timeline().playhead(), delta))
        qCInfo(lcUi).noquote() << QStringLiteral("✂️ Video editor moved a cut by %1 s").arg(delta);
}

void VideoEditorWindow::seek(double seconds)
{
    if (!m_session.isLoaded())
        return;
    m_session.timeline().setPlayhead(seconds);
    m_timeline->keepPlayheadInView();
    refreshState();
    QCoro::connect(refreshPreview(), this, [] {});
}

void VideoEditorWindow::togglePlayback()
{
    if (!m_session.isLoaded())
        return;
    if (m_playTimer.isActive()) {
        m_playTimer.stop();
        return;
    }
    m_playClock.start();
    m_playTimer.start();
}

// Plays what is kept: the playhead jumps over cut-out stretches and stops after the last clip.
void VideoEditorWindow::advancePlayback()
{
    TimelineEditor& timeline = m_session.timeline();
    double next = timeline.playhead() + m_playClock.restart() / 1000.0;
    const QList<ClipSegment>& clips = timeline.clips();
    const auto clip = std::find_if(clips.cbegin(), clips.cend(), [next](const ClipSegment& c) { return next < c.end; });
    if (clip == clips.cend()) {
        m_playTimer.stop();
        next = clips.isEmpty() ? next : clips.constLast().end;
    } else if (next < clip->start) {
        next = clip->start;
    }
    seek(next);
}

QCoro::Task<void> VideoEditorWindow::refreshPreview()
{
    if (m_previewBusy || !m_session.isLoaded() || !m_previewFolder.isValid())
        co_return;
    QPointer<VideoEditorWindow> self(this);
    m_previewBusy = true;
    // One picture at a time; when the playhead moved meanwhile, the newest position is drawn next.
    while (self && m_previewShown != m_session.timeline().playhead()) {
        const double at = m_session.timeline().playhead();
        const QString path = m_previewFolder.filePath(QStringLiteral("preview.jpg"));
        QCoro::Task<bool> writing = m_frames.write(m_session.sourcePath(), at, kPreviewWidth, path);
        const bool written = co_await std::move(writing);
        if (!self)
            co_return;
        m_previewShown = at;
        const QPixmap picture(path);
        if (written && !picture.isNull())
            m_preview->setPixmap(picture.scaled(m_preview->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }
    if (self)
        m_previewBusy = false;
}

QCoro::Task<bool> VideoEditorWindow::exportToFile()
{
    if (!m_session.isLoaded() || m_session.isExporting())
        co_return false;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    const QString suggested = QDir(folder).filePath(VideoEditorSession::suggestedFileName(m_session.sourcePath(), m_session.preset()));
    const QString destination = m_dialogs.saveFile(this, tr("Export Video"), suggested, tr("Video (*.mp4 *.mov *.m4v)"));
    if (destination.isEmpty())
        co_return false;
    m_progress->setValue(0);
    setStatus(tr("Exporting with %1…").arg(title(m_session.preset())));
    QString exported;
    try {
        QCoro::Task<QString> running = m_session.exportVideo(QFileInfo(destination).suffix().toLower());
        exported = co_await std::move(running);
    } catch (const MediaError& error) {
        if (error.kind() == MediaError::Kind::cancelled) {
            setStatus(tr("Export cancelled."));
            qCInfo(lcUi).noquote() << "⏭ Video export cancelled";
        } else {
            showFailure(error.message());
        }
        Q_EMIT exportFinished(false);
        co_return false;
    }
    const bool saved = VideoEditorSession::saveExport(exported, destination);
    QFile::remove(exported);
    if (!saved) {
        showFailure(tr("%1 cannot be written.").arg(destination));
        Q_EMIT exportFinished(false);
        co_return false;
    }
    setStatus(tr("Saved %1.").arg(QFileInfo(destination).fileName()));
    qCInfo(lcUi).noquote() << QStringLiteral("✅ Video exported with %1 to %2 (subtitles: %3)")
                                  .arg(rawValue(m_session.preset()), destination)
                                  .arg(m_session.burnsSubtitles() ? m_session.subtitles().size() : 0);
    Q_EMIT exportFinished(true);
    co_return true;
}

void VideoEditorWindow::showFailure(const QString& detail)
{
    setStatus(tr("Failed to save video"));
    qCWarning(lcUi).noquote() << "❌ Failed to save video:" << detail;
    // Not modal, so an export that fails while the person works elsewhere blocks nothing.
    auto* box = new QMessageBox(QMessageBox::Warning, tr("Export"), tr("Failed to save video"), QMessageBox::Ok, this);
    box->setInformativeText(detail);
    box->setObjectName(QStringLiteral("exportFailure"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

void VideoEditorWindow::usePost()
{
    const PostMedia edited = m_session.editedMedia();
    qCInfo(lcUi).noquote() << QStringLiteral("📎 Video edits kept on the post: %1 clip(s), %2 caption(s), preset %3")
                                  .arg(edited.trimClips ? edited.trimClips->size() : 0)
                                  .arg(edited.subtitles ? edited.subtitles->segments.size() : 0)
                                  .arg(edited.renderedExportPreset.value_or(QString()));
    Q_EMIT mediaEdited(edited);
    close();
}

void VideoEditorWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
        togglePlayback();
        return;
    }
    QWidget::keyPressEvent(event);
}

void VideoEditorWindow::closeEvent(QCloseEvent* event)
{
    m_playTimer.stop();
    QWidget::closeEvent(event);
    if (!m_deleteWhenClosed)
        return;
    // The export's worker and its coroutine belong to this window: they end first.
    if (m_session.isExporting()) {
        connect(this, &VideoEditorWindow::exportFinished, this, &QObject::deleteLater);
        m_session.cancelExport();
        return;
    }
    deleteLater();
}
