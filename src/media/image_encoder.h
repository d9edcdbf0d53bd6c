#pragma once

#include "model/redaction_rect.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <qcoro/qcorotask.h>

#include <optional>

enum class ImageFormat { png, jpeg };

struct ImageEncodeRequest {
    QString input;
    ImageFormat format = ImageFormat::png;
    // When set, quality and then size are lowered until the file fits.
    std::optional<qint64> maxBytes;
    // Rectangles to black out first, as fractions of the upright image.
    QList<RedactionRect> redactions{};
};

// Decodes an image file and returns it re-encoded. Refuses files that are cut short or
// cannot be decoded. Failures throw MediaError.
class ImageEncoder {
public:
    virtual ~ImageEncoder() = default;
    virtual QCoro::Task<QByteArray> encode(ImageEncodeRequest request) = 0;
};
