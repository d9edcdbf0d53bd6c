#include "media/redaction_editor.h"

#include <algorithm>

RedactionEditor::RedactionEditor(const QList<RedactionRect>& stored, QObject* parent)
    : QObject(parent)
{
    for (const RedactionRect& rect : stored)
        m_shapes.append({clamped(QRectF(rect.x, rect.y, rect.width, rect.height)),
                         rect.blurred ? RedactionStyle::blur : RedactionStyle::solid});
}

QRectF RedactionEditor::clamped(const QRectF& rect)
{
    const QRectF normal = rect.normalized();
    const double left = std::clamp(normal.left(), 0.0, 1.0);
    const double top = std::clamp(normal.top(), 0.0, 1.0);
    const double right = std::clamp(normal.right(), 0.0, 1.0);
    const double bottom = std::clamp(normal.bottom(), 0.0, 1.0);
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

void RedactionEditor::select(std::optional<qsizetype> index)
{
    if (index && (*index < 0 || *index >= m_shapes.size()))
        index.reset();
    m_selected = index;
    Q_EMIT changed();
}

std::optional<qsizetype> RedactionEditor::shapeAt(QPointF point) const
{
    for (qsizetype i = m_shapes.size() - 1; i >= 0; --i) {
        if (m_shapes[i].rect.contains(point))
            return i;
    }
    return std::nullopt;
}

void RedactionEditor::push()
{
    m_undo.append(m_shapes);
}

qsizetype RedactionEditor::add(const QRectF& rect, RedactionStyle style)
{
    const QRectF inside = clamped(rect);
    if (inside.width() < kSmallest || inside.height() < kSmallest)
        return -1;
    push();
    m_shapes.append({inside, style});
    m_selected = m_shapes.size() - 1;
    Q_EMIT changed();
    return m_shapes.size() - 1;
}

bool RedactionEditor::remove(qsizetype index)
{
    if (index < 0 || index >= m_shapes.size())
        return false;
    push();
    m_shapes.removeAt(index);
    m_selected.reset();
    Q_EMIT changed();
    return true;
}

bool RedactionEditor::setStyle(qsizetype index, RedactionStyle style)
{
    if (index < 0 || index >= m_shapes.size() || m_shapes[index].style == style)
        return false;
    push();
    m_shapes[index].style = style;
    Q_EMIT changed();
    return true;
}

void RedactionEditor::begin()
{
    m_gestureStart = m_shapes;
}

void RedactionEditor::setRect(qsizetype index, const QRectF& rect)
{
    const QRectF inside = clamped(rect);
    if (index < 0 || index >= m_shapes.size() || inside.width() < kSmallest || inside.height() < kSmallest)
        return;
    m_shapes[index].rect = inside;
    Q_EMIT changed();
}

// Moves without changing the size: a rectangle pushed against an edge stops there.
void RedactionEditor::moveBy(qsizetype index, QPointF delta)
{
    if (index < 0 || index >= m_shapes.size())
        return;
    QRectF rect = m_shapes[index].rect.translated(delta);
    rect.moveLeft(std::clamp(rect.left(), 0.0, 1.0 - rect.width()));
    rect.moveTop(std::clamp(rect.top(), 0.0, 1.0 - rect.height()));
    m_shapes[index].rect = rect;
    Q_EMIT changed();
}

void RedactionEditor::end()
{
    // A drag that began by adding a rectangle was recorded by add() already.
    const bool recorded = !m_undo.isEmpty() && m_gestureStart && m_undo.constLast() == *m_gestureStart;
    if (m_gestureStart && *m_gestureStart != m_shapes && !recorded)
        m_undo.append(*m_gestureStart);
    m_gestureStart.reset();
}

bool RedactionEditor::undo()
{
    if (m_undo.isEmpty())
        return false;
    m_shapes = m_undo.takeLast();
    m_selected.reset();
    Q_EMIT changed();
    return true;
}

QList<RedactionRect> RedactionEditor::redactionRects() const
{
    QList<RedactionRect> rects;
    for (const RedactionShape& shape : m_shapes)
        rects.append({shape.rect.x(), shape.rect.y(), shape.rect.width(), shape.rect.height(), shape.style == RedactionStyle::blur});
    return rects;
}
