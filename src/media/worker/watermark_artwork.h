#pragma once

#include "media/watermark.h"
#include "media/worker/video_filter_graph.h"

#include <QImage>
#include <QString>

#include <optional>

// The watermark image read once and drawn at the size each export's picture needs: saved
// scaled into the job's scratch folder for the filter graph to lay over the video.
class WatermarkArtwork {
public:
    // Nothing (and `error`) when the image cannot be read.
    static std::optional<WatermarkArtwork> load(const Watermark& watermark, QString* error);

    // Fills the watermark part of `edits` for a picture of `video` size.
    bool prepare(QSize video, const QString& scratchFolder, PictureEdits& edits, QString* error) const;

private:
    Watermark m_watermark;
    QImage m_image;
};
