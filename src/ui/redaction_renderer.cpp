#include "ui/redaction_renderer.h"

#include <QImageReader>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// Blocks about a twelfth of the rectangle's shorter side, at least 8 pixels: large enough
// that letters and faces are gone, small enough that the area still looks like the picture.
QImage blurred(const QImage& region)
{
    const int block = std::max(8, std::min(region.width(), region.height()) / 12);
    const QSize coarse(std::max(1, region.width() / block), std::max(1, region.height() / block));
    return region.scaled(coarse, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(region.size(), Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

} // namespace

QRect RedactionRenderer::pixelRect(const QRectF& fractions, QSize size)
{
    // Outward to whole pixels, ignoring the rounding noise of sums such as 0.1 + 0.2.
    constexpr double kNoise = 1e-6;
    const int left = int(std::floor(fractions.left() * size.width() + kNoise));
    const int top = int(std::floor(fractions.top() * size.height() + kNoise));
    const int right = int(std::ceil(fractions.right() * size.width() - kNoise));
    const int bottom = int(std::ceil(fractions.bottom() * size.height() - kNoise));
    return QRect(QPoint(left, top), QPoint(right - 1, bottom - 1)).intersected(QRect(QPoint(0, 0), size));
}

QImage RedactionRenderer::render(const QImage& upright, const QList<RedactionShape>& shapes)
{
    QImage result = upright.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&result);
    for (const RedactionShape& shape : shapes) {
        const QRect box = pixelRect(shape.rect, result.size());
        if (box.isEmpty())
            continue;
        if (shape.style == RedactionStyle::solid)
            painter.fillRect(box, Qt::black);
        else
            painter.drawImage(box.topLeft(), blurred(result.copy(box)));
    }
    return result;
}

QImage RedactionRenderer::readUpright(const QString& path, QString* error)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull() && error)
        *error = reader.errorString();
    return image;
}
