#include "media/worker/image_job.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSaveFile>

#include <algorithm>

namespace {

constexpr int kJpegStartQuality = 90;
constexpr int kJpegLowestQuality = 40;
constexpr int kSmallestSide = 16;

QByteArray tail(QFile& file, qint64 bytes)
{
    file.seek(qMax<qint64>(0, file.size() - bytes));
    return file.read(bytes);
}

// Formats whose end is marked: a file cut short lacks the marker even when a decoder
// would still show the top half of the picture.
bool hasEndMarker(const QString& filePath, const QByteArray& format)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (format == "png")
        return tail(file, 12).startsWith(QByteArray::fromHex("0000000049454e44"));
    if (format == "jpeg" || format == "jpg") {
        QByteArray end = tail(file, 64);
        // Some cameras pad after the end-of-image marker.
        while (end.endsWith('\0'))
            end.chop(1);
        return end.endsWith(QByteArray::fromHex("ffd9"));
    }
    if (format == "gif")
        return tail(file, 1) == QByteArray(1, 0x3b);
    if (format == "webp") {
        file.seek(4);
        const QByteArray length = file.read(4);
        if (length.size() != 4)
            return false;
        const quint32 declared = quint8(length[0]) | quint8(length[1]) << 8 | quint8(length[2]) << 16
            | quint32(quint8(length[3])) << 24;
        return qint64(declared) + 8 <= file.size();
    }
    return true;
}

Json failure(const char* kind, const QString& message)
{
    return Json{{"error", kind}, {"message", message.toStdString()}};
}

// JPEG has no transparency: transparent parts become white rather than black.
QImage flattened(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return image;
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    return flat;
}

QByteArray encoded(const QImage& image, const QByteArray& format, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format.constData(), quality);
    return bytes;
}

struct Encoded {
    QByteArray bytes;
    QImage image;
    int quality = -1;
};

std::optional<Encoded> fit(QImage image, const QByteArray& format, std::optional<qint64> maxBytes)
{
    Encoded result{{}, std::move(image), format == "jpeg" ? kJpegStartQuality : -1};
    for (;;) {
        result.bytes = encoded(result.image, format, result.quality);
        if (result.bytes.isEmpty())
            return std::nullopt;
        if (!maxBytes || result.bytes.size() <= *maxBytes)
            return result;
        if (result.quality > kJpegLowestQuality) {
            result.quality -= 10;
            continue;
        }
        if (qMin(result.image.width(), result.image.height()) * 4 / 5 < kSmallestSide)
            return std::nullopt;
        result.image = result.image.scaled(result.image.size() * 4 / 5, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
}

// Coarse blocks about a twelfth of the shorter side (at least 8 pixels): letters and faces
// are gone, the area still looks like part of the picture. The editor's preview draws the same.
QImage blockBlurred(const QImage& region)
{
    const int block = std::max(8, std::min(region.width(), region.height()) / 12);
    const QSize coarse(std::max(1, region.width() / block), std::max(1, region.height() / block));
    return region.scaled(coarse, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(region.size(), Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

// Solid black is fully opaque: nothing of what lay under a rectangle survives in any channel.
void redact(QImage& image, const QList<RedactionRect>& rectangles)
{
    if (rectangles.isEmpty())
        return;
    if (image.hasAlphaChannel())
        image = image.convertToFormat(QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (const RedactionRect& fraction : rectangles) {
        const QRectF area(fraction.x * image.width(), fraction.y * image.height(), fraction.width * image.width(),
                          fraction.height * image.height());
        // Rounded outwards, so a rectangle never leaves a sliver of the edge it covers.
        const QRect box = area.toAlignedRect().intersected(image.rect());
        if (fraction.blurred && !box.isEmpty())
            painter.drawImage(box.topLeft(), blockBlurred(image.copy(box)));
        else
            painter.fillRect(box, Qt::black);
    }
}

} // namespace

Json ImageJob::run(const Options& options)
{
    QImageReader reader(options.input);
    // The re-encoded file carries no orientation tag, so the pixels are turned instead.
    reader.setAutoTransform(true);
    const QByteArray sourceFormat = reader.format().toLower();
    if (sourceFormat.isEmpty() || !hasEndMarker(options.input, sourceFormat))
        return failure("unreadable", QStringLiteral("image is incomplete or unreadable: ") + options.input);
    QImage image = reader.read();
    if (image.isNull())
        return failure("unreadable", QStringLiteral("image is incomplete or unreadable: ") + options.input);
    if (options.format == "jpeg")
        image = flattened(image);
    redact(image, options.redactions);

    const auto result = fit(std::move(image), options.format, options.maxBytes);
    if (!result)
        return failure("tooLarge", QStringLiteral("image does not fit in %1 bytes: ").arg(options.maxBytes.value_or(0))
                           + options.input);
    QSaveFile file(options.output);
    if (!file.open(QIODevice::WriteOnly) || file.write(result->bytes) != result->bytes.size() || !file.commit())
        return failure("unwritable", options.output + QStringLiteral(": ") + file.errorString());
    return Json{{"output", options.output.toStdString()},
                {"format", options.format.toStdString()},
                {"width", result->image.width()},
                {"height", result->image.height()},
                {"bytes", result->bytes.size()},
                {"quality", result->quality}};
}
