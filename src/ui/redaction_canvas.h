#pragma once

#include "media/redaction_editor.h"

#include <QImage>
#include <QWidget>

#include <optional>


// The image with its redaction rectangles. Drag on bare image to draw a rectangle, drag a
// rectangle to move it, drag its corner handle to resize it; Delete removes the selected one.
class RedactionCanvas : public QWidget {
    Q_OBJECT
public:
    RedactionCanvas(RedactionEditor& editor, QWidget* parent = nullptr);

    // A screen-sized copy is drawn; the full image is only rendered on export.
    void setImage(const QImage& upright);
    void setNewStyle(RedactionStyle style) { m_newStyle = style; }
    // Where the image lies in the widget.
    QRectF imageArea() const;
    QPointF toFraction(QPointF widgetPoint) const;

    QSize sizeHint() const override { return {900, 600}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Drag { none, drawing, moving, resizing };
    QRectF handleOf(qsizetype index) const;

    RedactionEditor& m_editor;
    QImage m_image;
    RedactionStyle m_newStyle = RedactionStyle::solid;
    Drag m_drag = Drag::none;
    QPointF m_anchor;
    QPointF m_last;
    qsizetype m_target = -1;
};
