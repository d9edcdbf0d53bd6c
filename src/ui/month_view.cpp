#include "ui/month_view.h"

#include "store/post_day_index.h"
#include "ui/post_chip_painter.h"

#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace {

constexpr int kColumns = 7;
constexpr int kRows = 6;
constexpr int kCellPadding = 3;

} // namespace

MonthView::MonthView(const PostDayIndex& index, QWidget* parent)
    : QWidget(parent)
    , m_index(index)
    , m_month(QDate::currentDate())
{
    setMouseTracking(false);
    setMinimumSize(560, 420);
    setFocusPolicy(Qt::StrongFocus);
}

void MonthView::setMonth(QDate anyDayOfMonth)
{
    m_month = QDate(anyDayOfMonth.year(), anyDayOfMonth.month(), 1);
    update();
}

void MonthView::setViewState(const CalendarViewState& state)
{
    m_state = state;
    update();
}

QDate MonthView::firstShownDay() const
{
    const int firstWeekday = locale().firstDayOfWeek();
    const int offset = (m_month.dayOfWeek() - firstWeekday + kColumns) % kColumns;
    return m_month.addDays(-offset);
}

int MonthView::headerHeight() const
{
    return fontMetrics().height() + 8;
}

int MonthView::chipHeight() const
{
    return fontMetrics().height() + 4;
}

QRect MonthView::cellRect(QDate day) const
{
    const qint64 offset = firstShownDay().daysTo(day);
    if (offset < 0 || offset >= kColumns * kRows)
        return {};
    const int column = int(offset % kColumns);
    const int row = int(offset / kColumns);
    const int top = headerHeight();
    const int left = column * width() / kColumns;
    const int right = (column + 1) * width() / kColumns;
    const int y = top + row * (height() - top) / kRows;
    const int bottom = top + (row + 1) * (height() - top) / kRows;
    return QRect(left, y, right - left, bottom - y);
}

QDate MonthView::dayAt(const QPoint& point) const
{
    const int top = headerHeight();
    if (point.y() < top || !rect().contains(point))
        return {};
    const int column = std::clamp(point.x() * kColumns / std::max(1, width()), 0, kColumns - 1);
    const int row = std::clamp((point.y() - top) * kRows / std::max(1, height() - top), 0, kRows - 1);
    return firstShownDay().addDays(row * kColumns + column);
}

MonthView::CellLayout MonthView::layoutCell(QDate day) const
{
    CellLayout layout;
    const QRect cell = cellRect(day);
    const QList<PostDayEntry> entries = m_index.postsOn(day, m_state.filter);
    const int top = cell.top() + fontMetrics().height() + 2 * kCellPadding;
    const int fits = std::max(0, (cell.bottom() - kCellPadding - top) / (chipHeight() + 2));
    const qsizetype shown = entries.size() <= fits ? entries.size() : std::max(0, fits - 1);
    for (qsizetype i = 0; i < shown; ++i) {
        const QRect chip(cell.left() + kCellPadding, top + int(i) * (chipHeight() + 2), cell.width() - 2 * kCellPadding,
                         chipHeight());
        layout.chips.append({chip, entries.at(i)});
    }
    layout.hidden = int(entries.size() - shown);
    if (layout.hidden > 0)
        layout.moreRect = QRect(cell.left() + kCellPadding, top + int(shown) * (chipHeight() + 2),
                                cell.width() - 2 * kCellPadding, chipHeight());
    return layout;
}

QRect MonthView::chipRect(const QUuid& id) const
{
    const std::optional<PostDayEntry> entry = m_index.entry(id);
    if (!entry)
        return {};
    for (const Chip& chip : layoutCell(entry->when.date()).chips) {
        if (chip.entry.id == id)
            return chip.rect;
    }
    return {};
}

std::optional<MonthView::Chip> MonthView::chipAt(const QPoint& point) const
{
    const QDate day = dayAt(point);
    if (!day.isValid())
        return std::nullopt;
    for (const Chip& chip : layoutCell(day).chips) {
        if (chip.rect.contains(point))
            return chip;
    }
    return std::nullopt;
}

bool MonthView::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    auto* help = static_cast<QHelpEvent*>(event);
    if (const std::optional<Chip> chip = chipAt(help->pos()))
        QToolTip::showText(help->globalPos(), PostChipPainter::toolTip(chip->entry), this, chip->rect);
    else
        QToolTip::hideText();
    return true;
}

void MonthView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    paintHeader(painter);
    const QDate first = firstShownDay();
    for (int i = 0; i < kColumns * kRows; ++i)
        paintCell(painter, first.addDays(i));
    if (m_drag.isDragging())
        paintDropTarget(painter);
}

void MonthView::paintHeader(QPainter& painter)
{
    painter.setPen(palette().color(QPalette::PlaceholderText));
    const QDate first = firstShownDay();
    for (int column = 0; column < kColumns; ++column) {
        const QRect cell = cellRect(first.addDays(column));
        const QRect header(cell.left(), 0, cell.width(), headerHeight());
        painter.drawText(header, Qt::AlignCenter, locale().dayName(first.addDays(column).dayOfWeek(), QLocale::ShortFormat));
    }
}

void MonthView::paintCell(QPainter& painter, QDate day)
{
    const QRect cell = cellRect(day);
    const bool inMonth = day.month() == m_month.month();
    if (!inMonth)
        painter.fillRect(cell, palette().color(QPalette::AlternateBase));
    if (day == m_state.selectedDay) {
        QColor selected = palette().color(QPalette::Highlight);
        selected.setAlpha(36);
        painter.fillRect(cell, selected);
    }
    painter.setPen(PostChipPainter::lineColor(palette()));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(cell.adjusted(0, 0, -1, -1));

    QFont font = painter.font();
    font.setBold(day == m_state.today);
    painter.save();
    painter.setFont(font);
    painter.setPen(day == m_state.today ? palette().color(QPalette::Highlight)
                                  : palette().color(inMonth ? QPalette::Text : QPalette::PlaceholderText));
    const QRect number = cell.adjusted(kCellPadding + 2, kCellPadding, -kCellPadding - 2, 0);
    painter.drawText(number, Qt::AlignTop | Qt::AlignRight, QString::number(day.day()));
    painter.restore();

    const CellLayout layout = layoutCell(day);
    for (const Chip& chip : layout.chips)
        PostChipPainter::paintLine(painter, chip.rect, chip.entry, palette(), chip.entry.id == m_state.selectedPost);
    if (layout.hidden > 0) {
        painter.setPen(palette().color(QPalette::Link));
        painter.drawText(layout.moreRect.adjusted(4, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                         tr("+%1 more").arg(layout.hidden));
    }
}

void MonthView::paintDropTarget(QPainter& painter)
{
    if (!m_dropDay.isValid())
        return;
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2, Qt::DashLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(cellRect(m_dropDay).adjusted(1, 1, -2, -2));
}

void MonthView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint point = event->position().toPoint();
    const std::optional<Chip> chip = chipAt(point);
    m_pressed.reset();
    if (!chip) {
        const QDate day = dayAt(point);
        if (!day.isValid())
            return;
        Q_EMIT daySelected(day);
        if (layoutCell(day).moreRect.contains(point))
            Q_EMIT dayActivated(day);
        return;
    }
    if (chip->entry.canMove()) {
        m_pressed = chip->entry;
        m_drag.press(point);
    }
    Q_EMIT postSelected(chip->entry.id);
}

void MonthView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressed || !m_drag.move(event->position().toPoint()))
        return;
    setCursor(Qt::ClosedHandCursor);
    m_dropDay = dayAt(m_drag.lastPoint());
    update();
}

void MonthView::mouseReleaseEvent(QMouseEvent* event)
{
    const std::optional<PostDayEntry> pressed = std::exchange(m_pressed, std::nullopt);
    const bool dragged = m_drag.release();
    unsetCursor();
    update();
    if (!pressed || !dragged)
        return;
    const QDate day = dayAt(event->position().toPoint());
    if (day.isValid() && day != pressed->when.date())
        Q_EMIT postMoved(pressed->id, day);
}

void MonthView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (const std::optional<Chip> chip = chipAt(point)) {
        Q_EMIT postActivated(chip->entry.id);
        return;
    }
    if (const QDate day = dayAt(point); day.isValid())
        Q_EMIT dayActivated(day);
}
