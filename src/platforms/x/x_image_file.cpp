#include "platforms/x/x_image_file.h"

namespace {

// Skips a chain of GIF data sub-blocks (a length byte, that many bytes; 0 ends it).
// Returns the position after the terminator, or -1 when the data ends first.
qsizetype skipSubBlocks(const QByteArray& bytes, qsizetype at)
{
    while (at < bytes.size()) {
        const auto length = static_cast<quint8>(bytes[at]);
        ++at;
        if (length == 0)
            return at;
        at += length;
    }
    return -1;
}

qsizetype colorTableSize(quint8 packed)
{
    return (packed & 0x80) ? 3 * (qsizetype(1) << ((packed & 0x07) + 1)) : 0;
}

} // namespace

XImageFile::Kind XImageFile::classify(const QByteArray& bytes)
{
    if (bytes.size() >= 3 && quint8(bytes[0]) == 0xFF && quint8(bytes[1]) == 0xD8 && quint8(bytes[2]) == 0xFF)
        return Kind::jpeg;
    if (gifFrameCount(bytes) > 1)
        return Kind::animatedGif;
    return Kind::other;
}

int XImageFile::gifFrameCount(const QByteArray& bytes)
{
    if (bytes.size() < 13 || !(bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a")))
        return 0;
    qsizetype at = 13 + colorTableSize(quint8(bytes[10]));
    int frames = 0;
    while (at >= 0 && at < bytes.size()) {
        const auto block = quint8(bytes[at]);
        if (block == 0x3B) // trailer
            break;
        if (block == 0x21) { // extension: label, then sub-blocks
            at = skipSubBlocks(bytes, at + 2);
        } else if (block == 0x2C) { // image: descriptor, local colour table, LZW size, data
            if (at + 10 > bytes.size())
                break;
            at += 10 + colorTableSize(quint8(bytes[at + 9]));
            at = skipSubBlocks(bytes, at + 1);
            if (at < 0)
                break; // a frame cut short does not count
            ++frames;
        } else {
            break;
        }
    }
    return frames;
}
