#include "ui/watermark_preview.h"

#include <QLinearGradient>
#include <QPainter>

WatermarkPreview::WatermarkPreview(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
}

void WatermarkPreview::setWatermark(const Watermark& watermark, bool enabled)
{
    if (watermark.imagePath != m_watermark.imagePath)
        m_image = watermark.imagePath.isEmpty() ? QImage() : QImage(watermark.imagePath);
    m_watermark = watermark;
    m_enabled = enabled;
    update();
}

QRect WatermarkPreview::frameRect() const
{
    // The largest 16:9 frame that fits, centred.
    const QSize frame = QSize(16, 9).scaled(size(), Qt::KeepAspectRatio);
    return {QPoint((width() - frame.width()) / 2, (height() - frame.height()) / 2), frame};
}

QRect WatermarkPreview::imageRect() const
{
    if (!m_enabled || m_image.isNull())
        return {};
    const QRect frame = frameRect();
    return m_watermark.placement(frame.size(), m_image.size()).translated(frame.topLeft());
}

void WatermarkPreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect frame = frameRect();
    QLinearGradient sky(frame.topLeft(), frame.bottomLeft());
    sky.setColorAt(0, QColor(0x4a, 0x7b, 0xb7));
    sky.setColorAt(1, QColor(0x1d, 0x2b, 0x45));
    painter.fillRect(frame, sky);
    const QRect target = imageRect();
    if (!target.isEmpty()) {
        painter.drawImage(target, m_image);
        return;
    }
    painter.setPen(Qt::white);
    const QString note = m_enabled ? QStringLiteral("No watermark image chosen") : QStringLiteral("Watermark off");
    painter.drawText(frame, Qt::AlignCenter, note);
}
