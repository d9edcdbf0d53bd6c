#pragma once

#include "store/post_day_entry.h"
#include "ui/calendar_view_state.h"
#include "ui/press_drag_tracker.h"

#include <QDate>
#include <QPoint>
#include <QWidget>

#include <optional>

class PostDayIndex;

// Six weeks around a month, each day with its posts as chips. Paints only the days shown,
// reading them from the day index. A chip dragged to another day moves the post there.
class MonthView : public QWidget {
    Q_OBJECT
public:
    explicit MonthView(const PostDayIndex& index, QWidget* parent = nullptr);

    void setMonth(QDate anyDayOfMonth);
    void setViewState(const CalendarViewState& state);

    QDate firstShownDay() const;
    // The cell of a shown day, or an empty rectangle.
    QRect cellRect(QDate day) const;
    // Where the post's chip is drawn, or an empty rectangle when it is not shown.
    QRect chipRect(const QUuid& id) const;

Q_SIGNALS:
    void daySelected(QDate day);
    // Double click on a day, or on its "+N more": show that day in full.
    void dayActivated(QDate day);
    void postSelected(const QUuid& id);
    void postActivated(const QUuid& id);
    void postMoved(const QUuid& id, QDate day);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    struct Chip {
        QRect rect;
        PostDayEntry entry;
    };
    struct CellLayout {
        QList<Chip> chips;
        int hidden = 0;
        QRect moreRect;
    };

    int headerHeight() const;
    int chipHeight() const;
    QDate dayAt(const QPoint& point) const;
    CellLayout layoutCell(QDate day) const;
    std::optional<Chip> chipAt(const QPoint& point) const;
    void paintCell(QPainter& painter, QDate day);
    void paintHeader(QPainter& painter);
    void paintDropTarget(QPainter& painter);

    const PostDayIndex& m_index;
    QDate m_month;
    CalendarViewState m_state;
    // The movable chip pressed, while the press lasts.
    std::optional<PostDayEntry> m_pressed;
    PressDragTracker m_drag;
    QDate m_dropDay;
};
