#include "ui/time_grid_view.h"

#include "store/post_day_index.h"
#include "ui/post_chip_painter.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace {

constexpr int kHourHeight = 56;
constexpr int kMinutesPerDay = 24 * 60;
constexpr int kSnapMinutes = 15;
// A post lasts no time; its block shows 45 minutes so two lines of text fit.
constexpr int kBlockMinutes = 45;
constexpr int kMaxLanes = 4;

int minutesOf(const QDateTime& when)
{
    return when.time().hour() * 60 + when.time().minute();
}

} // namespace

TimeGridView::TimeGridView(const PostDayIndex& index, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_index(index)
    , m_first(QDate::currentDate())
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(kHourHeight / 4);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, viewport(), qOverload<>(&QWidget::update));
    setMinimumSize(420, 320);
    updateScrollRange();
}

void TimeGridView::setDays(QDate first, int count)
{
    m_first = first;
    m_count = std::clamp(count, 1, 7);
    viewport()->update();
}

void TimeGridView::setViewState(const CalendarViewState& state)
{
    m_state = state;
    viewport()->update();
}

void TimeGridView::scrollToHour(int hour)
{
    // A little above the hour, so its label is not under the day names.
    verticalScrollBar()->setValue(std::max(0, std::clamp(hour, 0, 23) * kHourHeight - kHourHeight / 4));
}

int TimeGridView::headerHeight() const
{
    return fontMetrics().height() + 12;
}

int TimeGridView::gutterWidth() const
{
    return fontMetrics().horizontalAdvance(QStringLiteral("00:00")) + 14;
}

int TimeGridView::columnLeft(int column) const
{
    const int width = viewport()->width() - gutterWidth();
    return gutterWidth() + column * width / m_count;
}

int TimeGridView::yForMinutes(int minutes) const
{
    return headerHeight() + minutes * kHourHeight / 60 - verticalScrollBar()->value();
}

void TimeGridView::updateScrollRange()
{
    const int visible = viewport()->height() - headerHeight();
    verticalScrollBar()->setPageStep(std::max(1, visible));
    verticalScrollBar()->setRange(0, std::max(0, 24 * kHourHeight - visible));
}

void TimeGridView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollRange();
}

QList<TimeGridView::Block> TimeGridView::blocksFor(QDate day) const
{
    const qint64 column = m_first.daysTo(day);
    if (column < 0 || column >= m_count)
        return {};
    const QList<PostDayEntry> entries = m_index.postsOn(day, m_state.filter);
    // Greedy lanes: a post goes into the first lane free at its time, so posts close in
    // time sit side by side instead of on top of each other.
    QList<int> laneEnds;
    QList<int> lanes;
    for (const PostDayEntry& entry : entries) {
        const int start = minutesOf(entry.when);
        qsizetype lane = 0;
        while (lane < laneEnds.size() && laneEnds.at(lane) > start)
            ++lane;
        lane = std::min<qsizetype>(lane, kMaxLanes - 1);
        if (lane == laneEnds.size())
            laneEnds.append(0);
        laneEnds[lane] = start + kBlockMinutes;
        lanes.append(int(lane));
    }
    const int laneCount = std::max<int>(1, int(laneEnds.size()));
    const int left = columnLeft(int(column)) + 2;
    const int width = columnLeft(int(column) + 1) - left - 3;
    QList<Block> blocks;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const int start = minutesOf(entries.at(i).when);
        const int top = yForMinutes(start);
        const int bottom = yForMinutes(std::min(start + kBlockMinutes, kMinutesPerDay));
        const int x = left + lanes.at(i) * width / laneCount;
        const int w = width / laneCount - 2;
        blocks.append({QRect(x, top, w, bottom - top - 1), entries.at(i)});
    }
    return blocks;
}

std::optional<TimeGridView::Block> TimeGridView::blockAt(const QPoint& point) const
{
    if (point.y() < headerHeight())
        return std::nullopt;
    const QList<Block> blocks = blocksFor(dayAt(point));
    // Later blocks are drawn on top; they win.
    for (auto block = blocks.crbegin(); block != blocks.crend(); ++block) {
        if (block->rect.contains(point))
            return *block;
    }
    return std::nullopt;
}

QDate TimeGridView::dayAt(const QPoint& point) const
{
    if (point.x() < gutterWidth() || point.x() >= viewport()->width())
        return {};
    for (int column = 0; column < m_count; ++column) {
        if (point.x() < columnLeft(column + 1))
            return m_first.addDays(column);
    }
    return {};
}

std::optional<QDateTime> TimeGridView::timeAt(const QPoint& point) const
{
    const QDate day = dayAt(point);
    if (!day.isValid())
        return std::nullopt;
    const int y = std::max(point.y(), headerHeight()) - headerHeight() + verticalScrollBar()->value();
    const int minutes = std::clamp(y * 60 / kHourHeight, 0, kMinutesPerDay - 1);
    const int snapped = std::min(minutes / kSnapMinutes * kSnapMinutes, kMinutesPerDay - kSnapMinutes);
    return QDateTime(day, QTime(snapped / 60, snapped % 60), m_index.zone());
}

QPoint TimeGridView::pointAt(QDate day, QTime time) const
{
    const qint64 column = m_first.daysTo(day);
    if (column < 0 || column >= m_count)
        return {};
    const int x = (columnLeft(int(column)) + columnLeft(int(column) + 1)) / 2;
    return QPoint(x, yForMinutes(time.hour() * 60 + time.minute()) + 1);
}

QRect TimeGridView::postRect(const QUuid& id) const
{
    const std::optional<PostDayEntry> entry = m_index.entry(id);
    if (!entry)
        return {};
    for (const Block& block : blocksFor(entry->when.date())) {
        if (block.entry.id == id)
            return block.rect;
    }
    return {};
}

bool TimeGridView::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QAbstractScrollArea::viewportEvent(event);
    auto* help = static_cast<QHelpEvent*>(event);
    if (const std::optional<Block> block = blockAt(help->pos()))
        QToolTip::showText(help->globalPos(), PostChipPainter::toolTip(block->entry), viewport(), block->rect);
    else
        QToolTip::hideText();
    return true;
}

void TimeGridView::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), palette().color(QPalette::Base));
    paintHours(painter);
    for (int column = 0; column < m_count; ++column) {
        for (const Block& block : blocksFor(m_first.addDays(column)))
            PostChipPainter::paintBlock(painter, block.rect, block.entry, palette(), block.entry.id == m_state.selectedPost);
    }
    if (m_drag.isDragging())
        paintDrag(painter);
    paintHeader(painter);
}

void TimeGridView::paintHours(QPainter& painter)
{
    for (int column = 0; column < m_count; ++column) {
        const QDate day = m_first.addDays(column);
        if (day != m_state.selectedDay && day != m_state.today)
            continue;
        QColor tint = palette().color(QPalette::Highlight);
        tint.setAlpha(day == m_state.selectedDay ? 26 : 12);
        painter.fillRect(QRect(columnLeft(column), 0, columnLeft(column + 1) - columnLeft(column), viewport()->height()), tint);
    }
    for (int hour = 0; hour < 24; ++hour) {
        const int y = yForMinutes(hour * 60);
        painter.setPen(PostChipPainter::lineColor(palette(), 30));
        painter.drawLine(gutterWidth(), y, viewport()->width(), y);
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(QRect(0, y - fontMetrics().height() / 2, gutterWidth() - 6, fontMetrics().height()),
                         Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("%1:00").arg(hour, 2, 10, QLatin1Char('0')));
    }
    painter.setPen(PostChipPainter::lineColor(palette()));
    for (int column = 0; column <= m_count; ++column)
        painter.drawLine(columnLeft(column), 0, columnLeft(column), viewport()->height());
}

void TimeGridView::paintHeader(QPainter& painter)
{
    const QRect header(0, 0, viewport()->width(), headerHeight());
    painter.fillRect(header, palette().color(QPalette::Window));
    for (int column = 0; column < m_count; ++column) {
        const QDate day = m_first.addDays(column);
        const QRect cell(columnLeft(column), 0, columnLeft(column + 1) - columnLeft(column), headerHeight());
        QFont font = painter.font();
        font.setBold(day == m_state.today);
        painter.save();
        painter.setFont(font);
        painter.setPen(day == m_state.today ? palette().color(QPalette::Highlight) : palette().color(QPalette::WindowText));
        const QString name = locale().dayName(day.dayOfWeek(), QLocale::ShortFormat) + QLatin1Char(' ')
            + QString::number(day.day());
        painter.drawText(cell, Qt::AlignCenter, name);
        painter.restore();
    }
    painter.setPen(PostChipPainter::lineColor(palette()));
    painter.drawLine(0, headerHeight() - 1, viewport()->width(), headerHeight() - 1);
}

void TimeGridView::paintDrag(QPainter& painter)
{
    const std::optional<QDateTime> when = timeAt(m_drag.lastPoint() - QPoint(0, m_drag.pressPoint().y() - m_pressed->rect.top()));
    if (!when)
        return;
    PostDayEntry moved = m_pressed->entry;
    moved.when = *when;
    const QPoint top = pointAt(when->date(), when->time());
    const qint64 column = m_first.daysTo(when->date());
    const int left = columnLeft(int(column)) + 2;
    const QRect ghost(left, top.y() - 1, columnLeft(int(column) + 1) - left - 3, m_pressed->rect.height());
    painter.setOpacity(0.75);
    PostChipPainter::paintBlock(painter, ghost, moved, palette(), true);
    painter.setOpacity(1);
}

void TimeGridView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint point = event->position().toPoint();
    m_pressed.reset();
    const std::optional<Block> block = blockAt(point);
    if (!block) {
        if (const QDate day = dayAt(point); day.isValid())
            Q_EMIT daySelected(day);
        return;
    }
    if (block->entry.canMove()) {
        m_pressed = block;
        m_drag.press(point);
    }
    Q_EMIT postSelected(block->entry.id);
}

void TimeGridView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressed || !m_drag.move(event->position().toPoint()))
        return;
    viewport()->setCursor(Qt::ClosedHandCursor);
    viewport()->update();
}

void TimeGridView::mouseReleaseEvent(QMouseEvent* event)
{
    const std::optional<Block> pressed = std::exchange(m_pressed, std::nullopt);
    const bool dragged = m_drag.release();
    viewport()->unsetCursor();
    viewport()->update();
    if (!pressed || !dragged)
        return;
    // The block's top follows the pointer, keeping where in the block it was grabbed.
    const QPoint top = event->position().toPoint() - QPoint(0, m_drag.pressPoint().y() - pressed->rect.top());
    const std::optional<QDateTime> when = timeAt(top);
    if (when && *when != pressed->entry.when)
        Q_EMIT postMoved(pressed->entry.id, *when);
}

void TimeGridView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (const std::optional<Block> block = blockAt(event->position().toPoint()))
        Q_EMIT postActivated(block->entry.id);
}
