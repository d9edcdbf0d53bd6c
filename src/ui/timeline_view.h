#pragma once

#include "media/time_range.h"
#include "media/waveform_peaks.h"

#include <QImage>
#include <QUuid>
#include <QWidget>

#include <optional>

class QMenu;
class VideoEditorSession;

// The editor's timeline on the source's time axis: the waveform, the kept clips (cut-out
// stretches dimmed), the detected silences and the playhead. Everything but the playhead is
// drawn into a cached picture that only an edit, a zoom, a scroll or a resize renews, so
// moving the playhead over a long file with many clips stays cheap.
class TimelineView : public QWidget {
    Q_OBJECT
public:
    explicit TimelineView(VideoEditorSession& session, QWidget* parent = nullptr);

    // Call once the session is loaded (the waveform is read then).
    void reload();
    double timeAt(int x) const;
    int xAt(double seconds) const;
    // The first second shown; the zoom decides how much follows.
    double scrollPosition() const { return m_start; }
    void setScrollPosition(double seconds);
    // Scrolls so the playhead shows (while playing, after a seek or a zoom).
    void keepPlayheadInView();
    std::optional<QUuid> selectedClip() const { return m_selected; }
    void selectClipAt(double seconds);
    // The clip menu for a point on the timeline: "Remove", "Merge Left", "Merge Right", and
    // "Mark Silence" or "Unmark Silence" over a detected silence. The caller owns it.
    QMenu* clipMenu(double seconds);

    QSize sizeHint() const override { return {800, 120}; }

Q_SIGNALS:
    void seekRequested(double seconds);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    double visibleSeconds() const;
    void invalidate();
    void renderCache();
    void drawWaveform(QPainter& painter) const;
    void drawClips(QPainter& painter) const;
    void drawSilences(QPainter& painter) const;
    std::optional<TimeRange> silenceAt(double seconds) const;

    VideoEditorSession& m_session;
    WaveformPeaks m_peaks;
    QImage m_cache;
    bool m_cacheValid = false;
    double m_start = 0;
    std::optional<QUuid> m_selected;
};
