#pragma once

#include "media/watermark.h"

#include <QImage>
#include <QWidget>

// A sample 16:9 frame with the watermark drawn where the renderer puts it, so a change of
// corner, margin or size shows before anything is published.
class WatermarkPreview : public QWidget {
    Q_OBJECT
public:
    explicit WatermarkPreview(QWidget* parent = nullptr);

    void setWatermark(const Watermark& watermark, bool enabled);
    // Where the image sits in the frame (for tests); empty when nothing is drawn.
    QRect imageRect() const;

    QSize sizeHint() const override { return {320, 180}; }
    QSize minimumSizeHint() const override { return {240, 135}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect frameRect() const;

    Watermark m_watermark;
    QImage m_image;
    bool m_enabled = true;
};
