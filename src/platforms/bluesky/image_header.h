#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// What the first bytes of an image file say: its type and its size as displayed. Read
// without decoding the image, so the processes that draw nothing need no image library.
struct ImageHeader {
    // "image/jpeg", "image/png", "image/gif" or "image/webp".
    QString mimeType;
    int width = 0;
    int height = 0;

    // Nothing for other formats and for headers cut short. A JPEG whose EXIF orientation
    // turns it by a quarter has its width and height swapped, as viewers show it.
    static std::optional<ImageHeader> read(QByteArrayView bytes);
};
