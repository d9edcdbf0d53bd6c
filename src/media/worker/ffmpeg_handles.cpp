#include "media/worker/ffmpeg_handles.h"

#include <cmath>

namespace Ffmpeg {

QString errorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromUtf8(text);
}

Input openInput(const QString& path, QString* error)
{
    AVFormatContext* raw = nullptr;
    const QByteArray name = path.toUtf8();
    if (const int code = avformat_open_input(&raw, name.constData(), nullptr, nullptr); code < 0) {
        *error = errorText(code);
        return nullptr;
    }
    Input input(raw);
    if (const int code = avformat_find_stream_info(input.get(), nullptr); code < 0) {
        *error = errorText(code);
        return nullptr;
    }
    return input;
}

Codec openDecoder(const AVStream& stream, int threads)
{
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!decoder)
        return nullptr;
    Codec codec(avcodec_alloc_context3(decoder));
    if (!codec || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0)
        return nullptr;
    codec->thread_count = threads;
    codec->pkt_timebase = stream.time_base;
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return nullptr;
    return codec;
}

double seconds(int64_t timestamp, AVRational timeBase)
{
    return double(timestamp) * av_q2d(timeBase);
}

int64_t timestamp(double seconds, AVRational timeBase)
{
    return int64_t(std::llround(seconds / av_q2d(timeBase)));
}

} // namespace Ffmpeg
