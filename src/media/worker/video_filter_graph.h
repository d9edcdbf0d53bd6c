#pragma once

#include "media/worker/ffmpeg_handles.h"

#include <QRect>
#include <QSize>
#include <QString>

// What happens to each picture between decoder and encoder: turned upright, scaled to the
// output size with square pixels, captions drawn, the watermark laid over, 4:2:0 out.
struct PictureEdits {
    int rotation = 0;
    QSize output;
    // A SubRip file with the captions on the output's timeline; empty for none.
    QString subtitlesPath;
    // An image already at its final size, and where it goes; empty for none.
    QString watermarkPath;
    QRect watermarkPlacement;

    // The libavfilter graph between the labels "in" and "out".
    QString graphDescription() const;
};

// A libavfilter graph built for the first decoded picture's format.
class VideoFilterGraph {
public:
    // Nothing (and `error`) when the graph cannot be built.
    static std::unique_ptr<VideoFilterGraph> make(const AVFrame& first, AVRational timeBase, const PictureEdits& edits,
                                                  QString* error);

    // A decoded picture in, or nothing to flush the graph at the end.
    bool push(AVFrame* frame);
    // The next edited picture: 0, AVERROR(EAGAIN) or AVERROR_EOF.
    int pull(AVFrame& frame);
    AVRational outputTimeBase() const;

private:
    VideoFilterGraph() = default;

    Ffmpeg::FilterGraph m_graph;
    AVFilterContext* m_source = nullptr;
    AVFilterContext* m_sink = nullptr;
};

// A value for a filter option, quoted for the option and again for the graph text.
QString filterQuoted(const QString& value);
