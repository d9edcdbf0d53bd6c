#include "media/worker/watermark_artwork.h"

#include <QDir>
#include <QImageReader>

std::optional<WatermarkArtwork> WatermarkArtwork::load(const Watermark& watermark, QString* error)
{
    QImageReader reader(watermark.imagePath);
    reader.setAutoTransform(true);
    WatermarkArtwork artwork;
    artwork.m_watermark = watermark;
    artwork.m_image = reader.read();
    if (artwork.m_image.isNull()) {
        *error = QStringLiteral("the watermark image %1 cannot be read: %2").arg(watermark.imagePath, reader.errorString());
        return std::nullopt;
    }
    artwork.m_image = artwork.m_image.convertToFormat(QImage::Format_RGBA8888);
    return artwork;
}

bool WatermarkArtwork::prepare(QSize video, const QString& scratchFolder, PictureEdits& edits, QString* error) const
{
    const QRect placement = m_watermark.placement(video, m_image.size());
    const QString path = QDir(scratchFolder).filePath(QStringLiteral("watermark-%1x%2.png").arg(video.width()).arg(video.height()));
    const QImage scaled = m_image.scaled(placement.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (!scaled.save(path, "PNG")) {
        *error = QStringLiteral("cannot write the scaled watermark to ") + path;
        return false;
    }
    edits.watermarkPath = path;
    edits.watermarkPlacement = placement;
    return true;
}
