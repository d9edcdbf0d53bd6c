#include "support/test_video.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

#include <QCryptographicHash>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

struct Encoder {
    AVCodecContext* codec = nullptr;
    AVStream* stream = nullptr;
    ~Encoder() { avcodec_free_context(&codec); }
};

bool drain(AVFormatContext* output, Encoder& encoder, AVFrame* frame)
{
    if (avcodec_send_frame(encoder.codec, frame) < 0)
        return false;
    AVPacket* packet = av_packet_alloc();
    while (avcodec_receive_packet(encoder.codec, packet) == 0) {
        packet->stream_index = encoder.stream->index;
        av_packet_rescale_ts(packet, encoder.codec->time_base, encoder.stream->time_base);
        av_interleaved_write_frame(output, packet);
    }
    av_packet_free(&packet);
    return true;
}

bool openVideo(AVFormatContext* output, const TestVideoOptions& options, Encoder& video)
{
    const bool even = options.width % 2 == 0 && options.height % 2 == 0;
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    video.codec = avcodec_alloc_context3(codec);
    video.codec->width = options.width;
    video.codec->height = options.height;
    // 4:2:0 needs even sizes; odd ones are kept in 4:4:4.
    video.codec->pix_fmt = even ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV444P;
    video.codec->time_base = AVRational{1, options.fps};
    video.codec->framerate = AVRational{options.fps, 1};
    video.codec->gop_size = options.keyFrameInterval;
    video.codec->keyint_min = options.keyFrameInterval;
    if (output->oformat->flags & AVFMT_GLOBALHEADER)
        video.codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "preset", "ultrafast", 0);
    av_dict_set(&settings, "sc_threshold", "0", 0);
    const bool opened = avcodec_open2(video.codec, codec, &settings) >= 0;
    av_dict_free(&settings);
    if (!opened)
        return false;
    video.stream = avformat_new_stream(output, nullptr);
    avcodec_parameters_from_context(video.stream->codecpar, video.codec);
    video.stream->time_base = video.codec->time_base;
    if (options.rotation != 0) {
        auto* matrix = reinterpret_cast<int32_t*>(av_stream_new_side_data(video.stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(int32_t)));
        av_display_rotation_set(matrix, options.rotation);
    }
    return true;
}

bool openAudio(AVFormatContext* output, Encoder& audio)
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    audio.codec = avcodec_alloc_context3(codec);
    audio.codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    audio.codec->sample_rate = 48000;
    av_channel_layout_default(&audio.codec->ch_layout, 1);
    audio.codec->bit_rate = 64000;
    audio.codec->time_base = AVRational{1, 48000};
    if (output->oformat->flags & AVFMT_GLOBALHEADER)
        audio.codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(audio.codec, codec, nullptr) < 0)
        return false;
    audio.stream = avformat_new_stream(output, nullptr);
    avcodec_parameters_from_context(audio.stream->codecpar, audio.codec);
    audio.stream->time_base = audio.codec->time_base;
    return true;
}

void paintBars(AVFrame* frame, int index)
{
    for (int y = 0; y < frame->height; ++y) {
        for (int x = 0; x < frame->width; ++x)
            frame->data[0][y * frame->linesize[0] + x] = uint8_t(40 + ((x * 8 / std::max(1, frame->width)) * 24 + index) % 180);
    }
    const bool full = frame->format == AV_PIX_FMT_YUV444P;
    const int chromaWidth = full ? frame->width : frame->width / 2;
    const int chromaHeight = full ? frame->height : frame->height / 2;
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < chromaHeight; ++y)
            std::fill_n(frame->data[plane] + y * frame->linesize[plane], chromaWidth, uint8_t(128));
    }
}

bool quietAt(const TestVideoOptions& options, double t)
{
    return std::any_of(options.quiet.begin(), options.quiet.end(), [t](const auto& r) { return t >= r.first && t < r.second; });
}

} // namespace

bool writeTestVideo(const QString& path, const TestVideoOptions& options, QString* error)
{
    av_log_set_level(AV_LOG_ERROR);
    AVFormatContext* output = nullptr;
    const QByteArray name = path.toUtf8();
    if (avformat_alloc_output_context2(&output, nullptr, nullptr, name.constData()) < 0) {
        *error = QStringLiteral("no muxer for ") + path;
        return false;
    }
    std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> owner(output, avformat_free_context);
    Encoder video;
    Encoder audio;
    if ((options.withVideo && !openVideo(output, options, video)) || (options.withAudio && !openAudio(output, audio))) {
        *error = QStringLiteral("cannot open the encoders");
        return false;
    }
    if (avio_open(&output->pb, name.constData(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(output, nullptr) < 0) {
        *error = QStringLiteral("cannot write ") + path;
        return false;
    }
    AVFrame* frame = av_frame_alloc();
    const int frames = int(std::lround(options.seconds * options.fps));
    const int64_t samples = int64_t(std::llround(options.seconds * 48000));
    int64_t sample = 0;
    for (int i = 0; options.withVideo && i < frames; ++i) {
        frame->format = video.codec->pix_fmt;
        frame->width = options.width;
        frame->height = options.height;
        av_frame_get_buffer(frame, 0);
        paintBars(frame, i);
        frame->pts = i;
        drain(output, video, frame);
        av_frame_unref(frame);
        // Sound up to the same time, so the file is interleaved as a camera's would be.
        while (options.withAudio && sample < std::min<int64_t>(samples, int64_t(i + 1) * 48000 / options.fps)) {
            frame->format = AV_SAMPLE_FMT_FLTP;
            frame->nb_samples = int(std::min<int64_t>(audio.codec->frame_size, samples - sample));
            frame->sample_rate = 48000;
            av_channel_layout_default(&frame->ch_layout, 1);
            av_frame_get_buffer(frame, 0);
            auto* data = reinterpret_cast<float*>(frame->data[0]);
            for (int s = 0; s < frame->nb_samples; ++s) {
                const double t = double(sample + s) / 48000;
                data[s] = quietAt(options, t) ? 0.0f : float(0.5 * std::sin(2 * M_PI * 440 * t));
            }
            frame->pts = sample;
            sample += frame->nb_samples;
            drain(output, audio, frame);
            av_frame_unref(frame);
        }
    }
    for (; !options.withVideo && options.withAudio && sample < samples;) {
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->nb_samples = int(std::min<int64_t>(audio.codec->frame_size, samples - sample));
        frame->sample_rate = 48000;
        av_channel_layout_default(&frame->ch_layout, 1);
        av_frame_get_buffer(frame, 0);
        std::fill_n(reinterpret_cast<float*>(frame->data[0]), frame->nb_samples, 0.25f);
        frame->pts = sample;
        sample += frame->nb_samples;
        drain(output, audio, frame);
        av_frame_unref(frame);
    }
    av_frame_free(&frame);
    if (options.withVideo)
        drain(output, video, nullptr);
    if (options.withAudio)
        drain(output, audio, nullptr);
    av_write_trailer(output);
    avio_closep(&output->pb);
    return true;
}

std::vector<int> TestFrame::at(int x, int y) const
{
    const std::size_t offset = (std::size_t(y) * std::size_t(width) + std::size_t(x)) * 3;
    return {rgb[offset], rgb[offset + 1], rgb[offset + 2]};
}

TestFrame readTestFrame(const QString& path, double seconds)
{
    TestFrame result;
    AVFormatContext* input = nullptr;
    const QByteArray name = path.toUtf8();
    if (avformat_open_input(&input, name.constData(), nullptr, nullptr) < 0)
        return result;
    avformat_find_stream_info(input, nullptr);
    const int index = av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVCodecContext* codec = nullptr;
    if (index >= 0) {
        const AVStream* stream = input->streams[index];
        codec = avcodec_alloc_context3(avcodec_find_decoder(stream->codecpar->codec_id));
        avcodec_parameters_to_context(codec, stream->codecpar);
        avcodec_open2(codec, codec->codec, nullptr);
        AVPacket* packet = av_packet_alloc();
        AVFrame* frame = av_frame_alloc();
        bool done = false;
        const auto take = [&] {
            while (!done && avcodec_receive_frame(codec, frame) == 0) {
                if (frame->best_effort_timestamp * av_q2d(stream->time_base) + 1e-6 >= seconds) {
                    result.width = frame->width;
                    result.height = frame->height;
                    result.rgb.resize(std::size_t(frame->width) * std::size_t(frame->height) * 3);
                    SwsContext* scaler = sws_getContext(frame->width, frame->height, AVPixelFormat(frame->format), frame->width,
                                                        frame->height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr);
                    uint8_t* planes[1] = {result.rgb.data()};
                    const int strides[1] = {frame->width * 3};
                    sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, planes, strides);
                    sws_freeContext(scaler);
                    done = true;
                }
                av_frame_unref(frame);
            }
        };
        while (!done && av_read_frame(input, packet) >= 0) {
            if (packet->stream_index == index)
                avcodec_send_packet(codec, packet);
            av_packet_unref(packet);
            take();
        }
        avcodec_send_packet(codec, nullptr);
        take();
        av_frame_free(&frame);
        av_packet_free(&packet);
    }
    avcodec_free_context(&codec);
    avformat_close_input(&input);
    return result;
}

std::vector<QByteArray> videoPackets(const QString& path)
{
    std::vector<QByteArray> packets;
    AVFormatContext* input = nullptr;
    const QByteArray name = path.toUtf8();
    if (avformat_open_input(&input, name.constData(), nullptr, nullptr) < 0)
        return packets;
    avformat_find_stream_info(input, nullptr);
    const int index = av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVPacket* packet = av_packet_alloc();
    while (index >= 0 && av_read_frame(input, packet) >= 0) {
        if (packet->stream_index == index)
            packets.push_back(QByteArray(reinterpret_cast<const char*>(packet->data), packet->size));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&input);
    return packets;
}

double streamDuration(const QString& path, const char* type)
{
    AVFormatContext* input = nullptr;
    const QByteArray name = path.toUtf8();
    if (avformat_open_input(&input, name.constData(), nullptr, nullptr) < 0)
        return -1;
    avformat_find_stream_info(input, nullptr);
    const AVMediaType wanted = QByteArray(type) == "video" ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    const int index = av_find_best_stream(input, wanted, -1, -1, nullptr, 0);
    double duration = -1;
    if (index >= 0) {
        const AVStream* stream = input->streams[index];
        duration = stream->duration > 0 ? stream->duration * av_q2d(stream->time_base) : 0;
    }
    avformat_close_input(&input);
    return duration;
}
