#pragma once

#include "core/json.h"
#include "model/redaction_rect.h"

#include <QList>
#include <QRectF>
#include <QString>

#include <optional>

// Decodes one image and writes it re-encoded as PNG or JPEG, shrinking it when a byte
// limit is given: JPEG quality first, then the pixel size. Files that are cut short are
// refused even when a decoder would show part of them. The output is written whole or
// not at all.
class ImageJob {
public:
    struct Options {
        QString input;
        QString output;
        QByteArray format = "png";
        std::optional<qint64> maxBytes;
        // Blacked out (or blurred) before encoding, as fractions of the upright image.
        QList<RedactionRect> redactions{};
    };

    // The answer printed for the job: the written image's figures, or
    // {"error": "unreadable" | "unwritable" | "tooLarge", "message": …}.
    static Json run(const Options& options);
};
