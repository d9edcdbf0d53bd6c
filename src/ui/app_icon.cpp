#include "ui/app_icon.h"

#include <QPainter>
#include <QPainterPath>

namespace {

const QColor kBlue(0x2f, 0x5f, 0xd0);

// The logo is designed on a 256-unit square.
void paintLogo(QPainter& painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBlue);
    painter.drawRoundedRect(QRectF(16, 16, 224, 224), 52, 52);

    QPainterPath quill(QPointF(188, 52));
    quill.cubicTo(QPointF(136, 62), QPointF(96, 104), QPointF(76, 170));
    quill.lineTo(QPointF(66, 204));
    quill.lineTo(QPointF(96, 184));
    quill.cubicTo(QPointF(142, 154), QPointF(174, 112), QPointF(188, 52));
    quill.closeSubpath();
    painter.setBrush(Qt::white);
    painter.drawPath(quill);

    QPainterPath shaft(QPointF(76, 170));
    shaft.cubicTo(QPointF(94, 140), QPointF(118, 112), QPointF(148, 90));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(kBlue, 8, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(shaft);

    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 204));
    painter.drawRoundedRect(QRectF(60, 206, 136, 10), 5, 5);
}

} // namespace

QImage AppIcon::render(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 256.0, size / 256.0);
    paintLogo(painter);
    return image;
}

QIcon AppIcon::icon()
{
    QIcon drawn;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256})
        drawn.addPixmap(QPixmap::fromImage(render(size)));
    return QIcon::fromTheme(QStringLiteral("quillo"), drawn);
}
