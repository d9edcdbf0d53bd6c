#include "ui/press_drag_tracker.h"

#include <QApplication>

#include <utility>

void PressDragTracker::press(const QPoint& point)
{
    m_pressPoint = point;
    m_lastPoint = point;
    m_pressed = true;
    m_dragging = false;
}

bool PressDragTracker::move(const QPoint& point)
{
    if (!m_pressed)
        return false;
    m_lastPoint = point;
    if (!m_dragging && (point - m_pressPoint).manhattanLength() >= QApplication::startDragDistance())
        m_dragging = true;
    return m_dragging;
}

bool PressDragTracker::release()
{
    m_pressed = false;
    return std::exchange(m_dragging, false);
}
