#include "media/worker/video_filter_graph.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace {

QString rotationFilters(int rotation)
{
    switch (rotation) {
    case 90: return QStringLiteral("transpose=clock,");
    case 180: return QStringLiteral("hflip,vflip,");
    case 270: return QStringLiteral("transpose=cclock,");
    default: return {};
    }
}

QString escaped(const QString& text, const QString& special)
{
    QString out;
    for (const QChar c : text) {
        if (special.contains(c))
            out += QLatin1Char('\\');
        out += c;
    }
    return out;
}

} // namespace

QString filterQuoted(const QString& value)
{
    // First for the option parser, then for the graph parser.
    return escaped(escaped(value, QStringLiteral("\\':")), QStringLiteral("\\'[],;"));
}

QString PictureEdits::graphDescription() const
{
    QString chain = rotationFilters(rotation)
        + QStringLiteral("scale=%1:%2:flags=bicubic,setsar=1").arg(output.width()).arg(output.height());
    if (!subtitlesPath.isEmpty())
        chain += QStringLiteral(",subtitles=filename=") + filterQuoted(subtitlesPath);
    chain += QStringLiteral(",format=yuv420p");
    if (watermarkPath.isEmpty())
        return QStringLiteral("[in]") + chain + QStringLiteral("[out]");
    return QStringLiteral("[in]%1[base];movie=filename=%2,format=rgba[mark];[base][mark]overlay=x=%3:y=%4,format=yuv420p[out]")
        .arg(chain, filterQuoted(watermarkPath))
        .arg(watermarkPlacement.x())
        .arg(watermarkPlacement.y());
}

std::unique_ptr<VideoFilterGraph> VideoFilterGraph::make(const AVFrame& first, AVRational timeBase, const PictureEdits& edits,
                                                         QString* error)
{
    std::unique_ptr<VideoFilterGraph> graph(new VideoFilterGraph);
    graph->m_graph.reset(avfilter_graph_alloc());
    const AVRational aspect = first.sample_aspect_ratio.num > 0 ? first.sample_aspect_ratio : AVRational{1, 1};
    const QByteArray sourceArguments = QStringLiteral("video_size=%1x%2:pix_fmt=%3:time_base=%4/%5:pixel_aspect=%6/%7")
                                           .arg(first.width)
                                           .arg(first.height)
                                           .arg(first.format)
                                           .arg(timeBase.num)
                                           .arg(timeBase.den)
                                           .arg(aspect.num)
                                           .arg(aspect.den)
                                           .toLatin1();
    AVFilterGraph* raw = graph->m_graph.get();
    int code = avfilter_graph_create_filter(&graph->m_source, avfilter_get_by_name("buffer"), "in", sourceArguments.constData(),
                                            nullptr, raw);
    if (code >= 0)
        code = avfilter_graph_create_filter(&graph->m_sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, raw);
    if (code < 0) {
        *error = QStringLiteral("cannot set up the picture filters: ") + Ffmpeg::errorText(code);
        return nullptr;
    }
    Ffmpeg::FilterInOut outputs(avfilter_inout_alloc());
    Ffmpeg::FilterInOut inputs(avfilter_inout_alloc());
    outputs->name = av_strdup("in");
    outputs->filter_ctx = graph->m_source;
    inputs->name = av_strdup("out");
    inputs->filter_ctx = graph->m_sink;
    const QByteArray description = edits.graphDescription().toUtf8();
    AVFilterInOut* rawInputs = inputs.release();
    AVFilterInOut* rawOutputs = outputs.release();
    code = avfilter_graph_parse_ptr(raw, description.constData(), &rawInputs, &rawOutputs, nullptr);
    avfilter_inout_free(&rawInputs);
    avfilter_inout_free(&rawOutputs);
    if (code >= 0)
        code = avfilter_graph_config(raw, nullptr);
    if (code < 0) {
        *error = QStringLiteral("cannot set up the picture filters (%1): %2")
                     .arg(QString::fromUtf8(description), Ffmpeg::errorText(code));
        return nullptr;
    }
    return graph;
}

bool VideoFilterGraph::push(AVFrame* frame)
{
    return av_buffersrc_add_frame_flags(m_source, frame, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0;
}

int VideoFilterGraph::pull(AVFrame& frame)
{
    return av_buffersink_get_frame(m_sink, &frame);
}

AVRational VideoFilterGraph::outputTimeBase() const
{
    return av_buffersink_get_time_base(m_sink);
}
