#pragma once

#include "model/redaction_rect.h"

#include <QList>
#include <QObject>
#include <QRectF>

#include <optional>

// How a rectangle hides what is under it: filled black, or blurred beyond reading.
enum class RedactionStyle { solid, blur };

struct RedactionShape {
    // Fractions of the upright image (0…1 across and down).
    QRectF rect;
    RedactionStyle style = RedactionStyle::solid;

    bool operator==(const RedactionShape&) const = default;
};

// The redaction tool's rectangles without its window: add, move, resize, restyle, remove,
// with undo. A drag is one edit: begin() records the list, the moves change it live, and
// end() keeps the record only when something changed.
class RedactionEditor : public QObject {
    Q_OBJECT
public:
    // Rectangles smaller than this (as a fraction of either side) are not kept.
    static constexpr double kSmallest = 0.005;

    explicit RedactionEditor(const QList<RedactionRect>& stored = {}, QObject* parent = nullptr);

    const QList<RedactionShape>& shapes() const { return m_shapes; }
    std::optional<qsizetype> selected() const { return m_selected; }
    void select(std::optional<qsizetype> index);
    // The shape on top at a point (fractions); nothing over bare image.
    std::optional<qsizetype> shapeAt(QPointF point) const;

    // One undoable edit each.
    qsizetype add(const QRectF& rect, RedactionStyle style);
    bool remove(qsizetype index);
    bool setStyle(qsizetype index, RedactionStyle style);

    // A drag: begin(), any number of setRect/moveBy, end().
    void begin();
    void setRect(qsizetype index, const QRectF& rect);
    void moveBy(qsizetype index, QPointF delta);
    void end();

    bool canUndo() const { return !m_undo.isEmpty(); }
    bool undo();

    // What the post stores: the rectangles' places and styles; publishing applies them.
    QList<RedactionRect> redactionRects() const;
    static QRectF clamped(const QRectF& rect);

Q_SIGNALS:
    void changed();

private:
    void push();

    QList<RedactionShape> m_shapes;
    QList<QList<RedactionShape>> m_undo;
    std::optional<QList<RedactionShape>> m_gestureStart;
    std::optional<qsizetype> m_selected;
};
