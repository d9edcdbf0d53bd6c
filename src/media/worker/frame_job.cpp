#include "media/worker/frame_job.h"

#include "media/worker/export_source.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <QImage>
#include <QTransform>

#include <algorithm>

namespace {

Json failure(const char* kind, const QString& message)
{
    return {{"error", kind}, {"message", message.toStdString()}};
}

// The first picture at or after `at`, or the last one when the video ends before it.
Ffmpeg::Frame decodeAt(const ExportSource& source, AVCodecContext& decoder, double at)
{
    const Ffmpeg::Packet packet(av_packet_alloc());
    Ffmpeg::Frame frame(av_frame_alloc());
    Ffmpeg::Frame last;
    bool flushing = false;
    while (true) {
        if (!flushing) {
            const int read = av_read_frame(&source.input(), packet.get());
            if (read < 0) {
                flushing = true;
                avcodec_send_packet(&decoder, nullptr);
            } else if (packet->stream_index == source.videoIndex()) {
                avcodec_send_packet(&decoder, packet.get());
            }
            av_packet_unref(packet.get());
        }
        while (avcodec_receive_frame(&decoder, frame.get()) >= 0) {
            const double time = source.timeOf(frame->best_effort_timestamp, source.video());
            last = std::move(frame);
            frame.reset(av_frame_alloc());
            if (time + 0.001 >= at)
                return last;
        }
        if (flushing)
            return last;
    }
}

QImage toImage(const AVFrame& frame, QSize size)
{
    QImage image(size, QImage::Format_RGB888);
    SwsContext* scaler = sws_getContext(frame.width, frame.height, AVPixelFormat(frame.format), size.width(),
                                        size.height(), AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (!scaler)
        return {};
    uint8_t* planes[] = {image.bits()};
    const int strides[] = {int(image.bytesPerLine())};
    sws_scale(scaler, frame.data, frame.linesize, 0, frame.height, planes, strides);
    sws_freeContext(scaler);
    return image;
}

} // namespace

Json FrameJob::run(const Options& options)
{
    ExportSource::Problem problem{};
    QString error;
    const auto source = ExportSource::open(options.input, &problem, &error);
    if (!source)
        return failure(problem == ExportSource::Problem::noVideo ? "noVideo" : "unreadable", error);
    const Ffmpeg::Codec decoder = Ffmpeg::openDecoder(source->video(), 0);
    if (!decoder)
        return failure("unreadable", QStringLiteral("the video's codec cannot be decoded"));
    const double at = std::clamp(options.at, 0.0, source->duration());
    source->seek(at);
    const Ffmpeg::Frame frame = decodeAt(*source, *decoder, at);
    if (!frame)
        return failure("unreadable", QStringLiteral("no picture at %1 s").arg(at));
    // Scale the stored picture so that, turned upright, it fits the width with square pixels.
    const QSize shown = source->displaySize();
    const double scale = std::min(1.0, double(std::max(16, options.maxWidth)) / std::max(1, shown.width()));
    QSize upright(std::max(2, int(shown.width() * scale)), std::max(2, int(shown.height() * scale)));
    const bool turned = source->rotation() == 90 || source->rotation() == 270;
    QImage image = toImage(*frame, turned ? upright.transposed() : upright);
    if (image.isNull())
        return failure("unreadable", QStringLiteral("the picture cannot be converted"));
    if (source->rotation() != 0)
        image = image.transformed(QTransform().rotate(source->rotation()));
    if (!image.save(options.output, "JPEG", 85))
        return failure("unwritable", options.output + QStringLiteral(": cannot be written"));
    return {{"width", image.width()}, {"height", image.height()},
            {"time", source->timeOf(frame->best_effort_timestamp, source->video())}};
}
