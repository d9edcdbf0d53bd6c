#pragma once

#include "media/redaction_editor.h"

#include <QImage>
#include <QString>

// Draws the redaction rectangles into an image: solid ones black, blurred ones as coarse
// blocks of their own average colours, so what was written there cannot be read back.
class RedactionRenderer {
public:
    static QImage render(const QImage& upright, const QList<RedactionShape>& shapes);
    // The image as shown: turned upright by its orientation tag.
    static QImage readUpright(const QString& path, QString* error);
    // A shape's place in pixels on an image of `size`.
    static QRect pixelRect(const QRectF& fractions, QSize size);
};
