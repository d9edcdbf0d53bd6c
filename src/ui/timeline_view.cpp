#include "ui/timeline_view.h"

#include "media/video_editor_session.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kRulerHeight = 16;

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

// `over` laid on `base` at `share` (0…1), as an opaque colour: opaque fills are plain
// stores, not blends, which matters with a thousand clips on screen.
QColor mixed(const QColor& base, const QColor& over, double share)
{
    return QColor::fromRgbF(float(base.redF() + (over.redF() - base.redF()) * share),
                            float(base.greenF() + (over.greenF() - base.greenF()) * share),
                            float(base.blueF() + (over.blueF() - base.blueF()) * share));
}

} // namespace

TimelineView::TimelineView(VideoEditorSession& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
{
    setMinimumHeight(90);
    setFocusPolicy(Qt::ClickFocus);
    setAccessibleName(tr("Timeline"));
    connect(&session, &VideoEditorSession::zoomChanged, this, [this] {
        setScrollPosition(m_start);
        keepPlayheadInView();
        invalidate();
    });
}

void TimelineView::reload()
{
    m_peaks = WaveformPeaks(m_session.waveform(), m_session.timeline().duration());
    TimelineEditor& timeline = m_session.timeline();
    connect(&timeline, &TimelineEditor::clipsChanged, this, &TimelineView::invalidate);
    connect(&timeline, &TimelineEditor::silencesChanged, this, &TimelineView::invalidate);
    invalidate();
}

double TimelineView::visibleSeconds() const
{
    const double duration = m_session.isLoaded() ? m_session.timeline().duration() : 0;
    return duration / m_session.zoom();
}

double TimelineView::timeAt(int x) const
{
    return width() > 0 ? m_start + double(x) / width() * visibleSeconds() : m_start;
}

int TimelineView::xAt(double seconds) const
{
    const double visible = visibleSeconds();
    return visible > 0 ? int(std::lround((seconds - m_start) / visible * width())) : 0;
}

void TimelineView::setScrollPosition(double seconds)
{
    const double duration = m_session.isLoaded() ? m_session.timeline().duration() : 0;
    const double start = std::clamp(seconds, 0.0, std::max(0.0, duration - visibleSeconds()));
    if (start == m_start)
        return;
    m_start = start;
    invalidate();
}

// Keeps the playhead in view when zooming or playing past the right edge.
void TimelineView::keepPlayheadInView()
{
    if (!m_session.isLoaded())
        return;
    const double playhead = m_session.timeline().playhead();
    if (playhead < m_start || playhead > m_start + visibleSeconds())
        setScrollPosition(playhead - visibleSeconds() / 4);
}

void TimelineView::invalidate()
{
    m_cacheValid = false;
    update();
}

void TimelineView::selectClipAt(double seconds)
{
    m_selected.reset();
    for (const ClipSegment& clip : m_session.timeline().clips()) {
        if (seconds >= clip.start && seconds < clip.end)
            m_selected = clip.id;
    }
    invalidate();
}

std::optional<TimeRange> TimelineView::silenceAt(double seconds) const
{
    for (const TimeRange& silence : m_session.timeline().displaySilences()) {
        if (seconds >= silence.start && seconds <= silence.end)
            return silence;
    }
    return std::nullopt;
}

QMenu* TimelineView::clipMenu(double seconds)
{
    auto* menu = new QMenu(this);
    TimelineEditor& timeline = m_session.timeline();
    selectClipAt(seconds);
    if (m_selected) {
        const QUuid id = *m_selected;
        menu->addAction(tr("Remove"), this, [&timeline, id] { timeline.removeClip(id); });
        menu->addAction(tr("Merge Left"), this, [&timeline, id] { timeline.mergeLeft(id); });
        menu->addAction(tr("Merge Right"), this, [&timeline, id] { timeline.mergeRight(id); });
    }
    if (const auto silence = silenceAt(seconds)) {
        const double centre = silence->centre();
        menu->addSeparator();
        if (timeline.isSilenceHidden(centre))
            menu->addAction(tr("Mark Silence"), this, [&timeline, centre] { timeline.markSilence(centre); });
        else
            menu->addAction(tr("Unmark Silence"), this, [&timeline, centre] { timeline.unmarkSilence(centre); });
    }
    return menu;
}

void TimelineView::renderCache()
{
    const qreal ratio = devicePixelRatioF();
    if (m_cache.size() != size() * ratio) {
        m_cache = QImage(size() * ratio, QImage::Format_ARGB32_Premultiplied);
        m_cache.setDevicePixelRatio(ratio);
    }
    m_cache.fill(palette().color(QPalette::Base));
    QPainter painter(&m_cache);
    if (m_session.isLoaded()) {
        drawClips(painter);
        drawSilences(painter);
        drawWaveform(painter);
    }
    m_cacheValid = true;
}

// One batch of vertical lines, a column each: far cheaper than a call per column.
void TimelineView::drawWaveform(QPainter& painter) const
{
    if (m_peaks.isEmpty())
        return;
    const int top = kRulerHeight;
    const int middle = top + (height() - top) / 2;
    const int half = (height() - top) / 2 - 2;
    const double secondsPerPixel = visibleSeconds() / std::max(1, width());
    QList<QLine> lines;
    lines.reserve(width());
    for (int x = 0; x < width(); ++x) {
        const double from = m_start + x * secondsPerPixel;
        const int extent = int(std::min(1.0f, m_peaks.peak(from, from + secondsPerPixel)) * half);
        lines.append(QLine(x, middle - extent, x, middle + extent));
    }
    painter.setPen(mixed(palette().color(QPalette::Base), palette().color(QPalette::Text), 0.67));
    painter.drawLines(lines);
}

void TimelineView::drawClips(QPainter& painter) const
{
    const QColor highlight = palette().color(QPalette::Highlight);
    const QColor base = palette().color(QPalette::Base);
    const QColor ruler = palette().color(QPalette::AlternateBase);
    const double end = m_start + visibleSeconds();
    painter.fillRect(QRect(0, 0, width(), kRulerHeight), ruler);
    QList<QRect> bodies;
    QList<QRect> headers;
    QList<QLine> edges;
    std::optional<QRect> selected;
    for (const ClipSegment& clip : m_session.timeline().clips()) {
        if (clip.end < m_start || clip.start > end)
            continue;
        const int left = xAt(clip.start);
        const int right = std::max(left, xAt(clip.end) - 1);
        const QRect body(QPoint(left, kRulerHeight), QPoint(right, height() - 1));
        if (m_selected == clip.id)
            selected = body;
        else
            bodies.append(body);
        headers.append(QRect(QPoint(left, 0), QPoint(right, kRulerHeight - 1)));
        edges.append(QLine(left, kRulerHeight, left, height() - 1));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(base, highlight, 0.22));
    painter.drawRects(bodies);
    painter.setBrush(mixed(ruler, highlight, 0.63));
    painter.drawRects(headers);
    if (selected) {
        painter.setBrush(mixed(base, highlight, 0.43));
        painter.drawRect(*selected);
    }
    painter.setPen(mixed(base, highlight, 0.9));
    painter.drawLines(edges);
    painter.setBrush(Qt::NoBrush);
}

void TimelineView::drawSilences(QPainter& painter) const
{
    const QColor silence(220, 60, 60);
    const TimelineEditor& timeline = m_session.timeline();
    for (const TimeRange& range : timeline.displaySilences()) {
        const QRect box(QPoint(xAt(range.start), kRulerHeight), QPoint(xAt(range.end), height() - 1));
        if (box.right() < 0 || box.left() > width())
            continue;
        const bool hidden = timeline.isSilenceHidden(range.centre());
        painter.fillRect(box, hidden ? QBrush(withAlpha(silence, 60), Qt::BDiagPattern) : QBrush(withAlpha(silence, 70)));
    }
}

void TimelineView::paintEvent(QPaintEvent*)
{
    if (!m_cacheValid || m_cache.size() != size() * devicePixelRatioF())
        renderCache();
    QPainter painter(this);
    painter.drawImage(0, 0, m_cache);
    if (!m_session.isLoaded())
        return;
    const int x = xAt(m_session.timeline().playhead());
    painter.setPen(QPen(QColor(230, 40, 40), 2));
    painter.drawLine(x, 0, x, height());
}

void TimelineView::resizeEvent(QResizeEvent*)
{
    m_cacheValid = false;
}

void TimelineView::mousePressEvent(QMouseEvent* event)
{
    if (!m_session.isLoaded() || event->button() != Qt::LeftButton)
        return;
    const double seconds = timeAt(int(event->position().x()));
    selectClipAt(seconds);
    Q_EMIT seekRequested(seconds);
}

void TimelineView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_session.isLoaded() && (event->buttons() & Qt::LeftButton))
        Q_EMIT seekRequested(timeAt(int(event->position().x())));
}

void TimelineView::wheelEvent(QWheelEvent* event)
{
    if (!m_session.isLoaded())
        return;
    const int steps = event->angleDelta().y() / 120;
    if (event->modifiers() & Qt::ControlModifier) {
        for (int i = 0; i < std::abs(steps); ++i)
            steps > 0 ? m_session.zoomIn() : m_session.zoomOut();
        return;
    }
    setScrollPosition(m_start - steps * visibleSeconds() / 10);
}

void TimelineView::contextMenuEvent(QContextMenuEvent* event)
{
    if (!m_session.isLoaded())
        return;
    QMenu* menu = clipMenu(timeAt(event->pos().x()));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}
