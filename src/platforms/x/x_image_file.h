#pragma once

#include <QByteArray>

// What X is told about an image file: only JPEG goes up as it is, an animated GIF keeps
// its animation; anything else is re-encoded to JPEG first so the bytes match the label.
class XImageFile {
public:
    enum class Kind { jpeg, animatedGif, other };

    // X's limits for one image.
    static constexpr qint64 kMaxImageBytes = 5 * 1000 * 1000;
    static constexpr qint64 kMaxGifBytes = 15 * 1000 * 1000;

    // Reads the kind from the file's bytes (its start is enough for JPEG; a GIF is
    // animated when it holds more than one frame).
    static Kind classify(const QByteArray& bytes);
    // The frames of a GIF; 0 when the bytes are not a GIF or end before the first frame.
    static int gifFrameCount(const QByteArray& bytes);
};
