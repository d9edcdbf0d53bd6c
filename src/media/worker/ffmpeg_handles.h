#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

#include <QString>

#include <memory>

// Owners for FFmpeg's C objects, so every early return frees what was opened.
namespace Ffmpeg {

struct InputCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecFreer {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameFreer {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ResamplerFreer {
    void operator()(SwrContext* context) const { swr_free(&context); }
};

struct FilterGraphFreer {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
struct FilterInOutFreer {
    void operator()(AVFilterInOut* inOut) const { avfilter_inout_free(&inOut); }
};
struct AudioFifoFreer {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};

using Input = std::unique_ptr<AVFormatContext, InputCloser>;
using FilterGraph = std::unique_ptr<AVFilterGraph, FilterGraphFreer>;
using FilterInOut = std::unique_ptr<AVFilterInOut, FilterInOutFreer>;
using AudioFifo = std::unique_ptr<AVAudioFifo, AudioFifoFreer>;
using Codec = std::unique_ptr<AVCodecContext, CodecFreer>;
using Frame = std::unique_ptr<AVFrame, FrameFreer>;
using Packet = std::unique_ptr<AVPacket, PacketFreer>;
using Resampler = std::unique_ptr<SwrContext, ResamplerFreer>;

// FFmpeg's own words for an error code.
QString errorText(int code);

// Opens a media file and reads its stream information; nothing (and `error` set) when
// the file is missing or no container recognises it.
Input openInput(const QString& path, QString* error);

// A decoder for one stream, opened; nothing when the codec is unknown or refuses.
// `threads` 0 lets the decoder use every core.
Codec openDecoder(const AVStream& stream, int threads = 1);

// A stream's timestamp in seconds.
double seconds(int64_t timestamp, AVRational timeBase);
// Seconds as a timestamp of a stream.
int64_t timestamp(double seconds, AVRational timeBase);

} // namespace Ffmpeg
