#pragma once

#include "store/post_day_entry.h"
#include "ui/calendar_view_state.h"
#include "ui/press_drag_tracker.h"

#include <QAbstractScrollArea>
#include <QDate>
#include <QTimeZone>

#include <optional>

class PostDayIndex;

// One or seven days as columns of hours, each post drawn at its time. The day names stay
// at the top while the hours scroll. A post dragged to another day or time is moved there,
// to the quarter hour.
class TimeGridView : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit TimeGridView(const PostDayIndex& index, QWidget* parent = nullptr);

    // 1 (day) or 7 (week) columns starting at `first`.
    void setDays(QDate first, int count);
    void setViewState(const CalendarViewState& state);
    // Scrolls so the hour is near the top.
    void scrollToHour(int hour);

    QDate firstDay() const { return m_first; }
    int dayCount() const { return m_count; }
    // Viewport coordinates of a day and time, and of a post's block (empty when not shown).
    QPoint pointAt(QDate day, QTime time) const;
    QRect postRect(const QUuid& id) const;

Q_SIGNALS:
    void daySelected(QDate day);
    void postSelected(const QUuid& id);
    void postActivated(const QUuid& id);
    void postMoved(const QUuid& id, const QDateTime& when);

protected:
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct Block {
        QRect rect;
        PostDayEntry entry;
    };

    int headerHeight() const;
    int gutterWidth() const;
    int columnLeft(int column) const;
    int yForMinutes(int minutes) const;
    QList<Block> blocksFor(QDate day) const;
    std::optional<Block> blockAt(const QPoint& point) const;
    QDate dayAt(const QPoint& point) const;
    // The quarter hour under the point (the block's top when dragging).
    std::optional<QDateTime> timeAt(const QPoint& point) const;
    void updateScrollRange();
    void paintHours(QPainter& painter);
    void paintHeader(QPainter& painter);
    void paintDrag(QPainter& painter);

    const PostDayIndex& m_index;
    QDate m_first;
    int m_count = 7;
    CalendarViewState m_state;
    // The movable block pressed, while the press lasts.
    std::optional<Block> m_pressed;
    PressDragTracker m_drag;
};
