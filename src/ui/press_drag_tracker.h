#pragma once

#include <QPoint>

// Tells a click from a drag: a press becomes a drag once the pointer has travelled the
// platform's drag distance. The calendar's views move posts with it.
class PressDragTracker {
public:
    void press(const QPoint& point);
    // True while dragging (from the move that crossed the distance on).
    bool move(const QPoint& point);
    // Ends the press; true when it had become a drag.
    bool release();

    bool isPressed() const { return m_pressed; }
    bool isDragging() const { return m_dragging; }
    QPoint pressPoint() const { return m_pressPoint; }
    QPoint lastPoint() const { return m_lastPoint; }

private:
    QPoint m_pressPoint;
    QPoint m_lastPoint;
    bool m_pressed = false;
    bool m_dragging = false;
};
