#include "ui/redaction_canvas.h"

#include "ui/redaction_renderer.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kPreviewSide = 1600;
constexpr double kHandle = 10;

} // namespace

RedactionCanvas::RedactionCanvas(RedactionEditor& editor, QWidget* parent)
    : QWidget(parent)
    , m_editor(editor)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(false);
    setMinimumSize(320, 240);
    connect(&editor, &RedactionEditor::changed, this, qOverload<>(&QWidget::update));
}

void RedactionCanvas::setImage(const QImage& upright)
{
    m_image = upright.width() > kPreviewSide || upright.height() > kPreviewSide
        ? upright.scaled(kPreviewSide, kPreviewSide, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        : upright;
    update();
}

QRectF RedactionCanvas::imageArea() const
{
    if (m_image.isNull())
        return {};
    const QSizeF shown = QSizeF(m_image.size()).scaled(QSizeF(size()) - QSizeF(16, 16), Qt::KeepAspectRatio);
    return QRectF(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2), shown);
}

QPointF RedactionCanvas::toFraction(QPointF widgetPoint) const
{
    const QRectF area = imageArea();
    if (area.isEmpty())
        return {};
    return {(widgetPoint.x() - area.left()) / area.width(), (widgetPoint.y() - area.top()) / area.height()};
}

QRectF RedactionCanvas::handleOf(qsizetype index) const
{
    const QRectF area = imageArea();
    const QRectF rect = m_editor.shapes()[index].rect;
    const QPointF corner(area.left() + rect.right() * area.width(), area.top() + rect.bottom() * area.height());
    return QRectF(corner - QPointF(kHandle / 2, kHandle / 2), QSizeF(kHandle, kHandle));
}

void RedactionCanvas::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window).darker(115));
    if (m_image.isNull())
        return;
    const QRectF area = imageArea();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(area, RedactionRenderer::render(m_image, m_editor.shapes()));
    for (qsizetype i = 0; i < m_editor.shapes().size(); ++i) {
        const QRectF fraction = m_editor.shapes()[i].rect;
        const QRectF box(area.left() + fraction.left() * area.width(), area.top() + fraction.top() * area.height(),
                         fraction.width() * area.width(), fraction.height() * area.height());
        const bool selected = m_editor.selected() == i;
        painter.setPen(QPen(selected ? palette().color(QPalette::Highlight) : QColor(255, 255, 255, 140), selected ? 2 : 1,
                            selected ? Qt::SolidLine : Qt::DashLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(box);
        if (selected)
            painter.fillRect(handleOf(i), palette().color(QPalette::Highlight));
    }
}

void RedactionCanvas::mousePressEvent(QMouseEvent* event)
{
    if (m_image.isNull() || event->button() != Qt::LeftButton)
        return;
    const QPointF point = toFraction(event->position());
    m_anchor = point;
    m_last = point;
    m_editor.begin();
    const auto selected = m_editor.selected();
    if (selected && handleOf(*selected).contains(event->position())) {
        m_drag = Drag::resizing;
        m_target = *selected;
        return;
    }
    const auto hit = m_editor.shapeAt(point);
    m_editor.select(hit);
    m_drag = hit ? Drag::moving : Drag::drawing;
    m_target = hit.value_or(-1);
}

void RedactionCanvas::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = toFraction(event->position());
    switch (m_drag) {
    case Drag::none:
        return;
    case Drag::drawing:
        if (m_target < 0)
            m_target = m_editor.add(QRectF(m_anchor, point), m_newStyle);
        else
            m_editor.setRect(m_target, QRectF(m_anchor, point));
        break;
    case Drag::moving:
        m_editor.moveBy(m_target, point - m_last);
        break;
    case Drag::resizing:
        m_editor.setRect(m_target, QRectF(m_editor.shapes()[m_target].rect.topLeft(), point));
        break;
    }
    m_last = point;
}

void RedactionCanvas::mouseReleaseEvent(QMouseEvent*)
{
    if (m_drag == Drag::none)
        return;
    m_drag = Drag::none;
    m_target = -1;
    m_editor.end();
}

void RedactionCanvas::keyPressEvent(QKeyEvent* event)
{
    const auto selected = m_editor.selected();
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && selected) {
        m_editor.remove(*selected);
        return;
    }
    QWidget::keyPressEvent(event);
}

