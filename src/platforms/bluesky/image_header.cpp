#include "platforms/bluesky/image_header.h"

#include <algorithm>

namespace {

quint32 bigEndian(QByteArrayView b, qsizetype at, int length)
{
    quint32 value = 0;
    for (int i = 0; i < length; ++i)
        value = (value << 8) | quint8(b[at + i]);
    return value;
}

quint32 littleEndian(QByteArrayView b, qsizetype at, int length)
{
    quint32 value = 0;
    for (int i = length - 1; i >= 0; --i)
        value = (value << 8) | quint8(b[at + i]);
    return value;
}

std::optional<ImageHeader> sized(const char* mime, quint32 width, quint32 height)
{
    if (width == 0 || height == 0 || width > 1000000 || height > 1000000)
        return std::nullopt;
    return ImageHeader{QString::fromLatin1(mime), int(width), int(height)};
}

// The orientation tag (0x0112) of an EXIF block; 1 when absent or unreadable.
int exifOrientation(QByteArrayView exif)
{
    if (exif.size() < 14 || !exif.startsWith("Exif"))
        return 1;
    const QByteArrayView tiff = exif.sliced(6);
    const bool little = tiff.startsWith("II");
    if (!little && !tiff.startsWith("MM"))
        return 1;
    const auto read = [&](qsizetype at, int length) -> qint64 {
        if (at < 0 || at + length > tiff.size())
            return -1;
        return little ? littleEndian(tiff, at, length) : bigEndian(tiff, at, length);
    };
    const qint64 ifd = read(4, 4);
    const qint64 entries = ifd < 0 ? -1 : read(ifd, 2);
    for (qint64 i = 0; i < entries && i < 512; ++i) {
        const qint64 entry = ifd + 2 + i * 12;
        if (read(entry, 2) == 0x0112)
            return int(std::max<qint64>(read(entry + 8, 2), 1));
    }
    return 1;
}

std::optional<ImageHeader> readJpeg(QByteArrayView b)
{
    int orientation = 1;
    qsizetype at = 2;
    while (at + 4 <= b.size()) {
        if (quint8(b[at]) != 0xFF)
            return std::nullopt;
        const quint8 marker = quint8(b[at + 1]);
        if (marker == 0xFF) { // fill byte
            ++at;
            continue;
        }
        const qsizetype length = bigEndian(b, at + 2, 2);
        if (length < 2)
            return std::nullopt;
        if (marker == 0xE1 && at + 4 + length - 2 <= b.size())
            orientation = exifOrientation(b.sliced(at + 4, length - 2));
        const bool startOfFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (startOfFrame) {
            if (at + 9 > b.size())
                return std::nullopt;
            const quint32 height = bigEndian(b, at + 5, 2);
            const quint32 width = bigEndian(b, at + 7, 2);
            const bool turned = orientation >= 5 && orientation <= 8;
            return turned ? sized("image/jpeg", height, width) : sized("image/jpeg", width, height);
        }
        at += 2 + length;
    }
    return std::nullopt;
}

std::optional<ImageHeader> readWebp(QByteArrayView b)
{
    if (b.size() < 30)
        return std::nullopt;
    const QByteArrayView chunk = b.sliced(12, 4);
    if (chunk == "VP8X")
        return sized("image/webp", littleEndian(b, 24, 3) + 1, littleEndian(b, 27, 3) + 1);
    if (chunk == "VP8L") {
        const quint32 bits = littleEndian(b, 21, 4);
        return sized("image/webp", (bits & 0x3FFF) + 1, ((bits >> 14) & 0x3FFF) + 1);
    }
    if (chunk == "VP8 ")
        return sized("image/webp", littleEndian(b, 26, 2) & 0x3FFF, littleEndian(b, 28, 2) & 0x3FFF);
    return std::nullopt;
}

} // namespace

std::optional<ImageHeader> ImageHeader::read(QByteArrayView b)
{
    if (b.size() >= 4 && quint8(b[0]) == 0xFF && quint8(b[1]) == 0xD8 && quint8(b[2]) == 0xFF)
        return readJpeg(b);
    if (b.size() >= 24 && b.startsWith("\x89PNG\r\n\x1a\n"))
        return sized("image/png", bigEndian(b, 16, 4), bigEndian(b, 20, 4));
    if (b.size() >= 10 && (b.startsWith("GIF87a") || b.startsWith("GIF89a")))
        return sized("image/gif", littleEndian(b, 6, 2), littleEndian(b, 8, 2));
    if (b.size() >= 16 && b.startsWith("RIFF") && b.sliced(8, 4) == "WEBP")
        return readWebp(b);
    return std::nullopt;
}
