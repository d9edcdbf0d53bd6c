#include "media/worker/transcode_session.h"

#include <QDebug>

#include <algorithm>

namespace {

// A frame this close to a range's edge counts as on it (timestamps are rounded).
constexpr double kEdge = 1e-4;

struct EncoderQuality {
    const char* crf;
    const char* speed;
    int64_t audioBitRate;
};

EncoderQuality qualityOf(ExportSessionPreset preset)
{
    switch (preset) {
    case ExportSessionPreset::mediumQuality: return {"28", "veryfast", 96000};
    case ExportSessionPreset::highestQuality: return {"18", "medium", 192000};
    default: return {"23", "veryfast", 128000};
    }
}

const AVCodec* h264Encoder()
{
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    return codec ? codec : avcodec_find_encoder(AV_CODEC_ID_H264);
}

AVRational frameRateOf(const AVStream& stream)
{
    if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0)
        return stream.avg_frame_rate;
    if (stream.r_frame_rate.num > 0 && stream.r_frame_rate.den > 0)
        return stream.r_frame_rate;
    return AVRational{30, 1};
}

} // namespace

TranscodeSession::TranscodeSession(const ExportSource& source, const Composition& composition, ExportOutput& output,
                                   ExportSessionPreset preset, PictureEdits edits, OverlayPreparer overlays)
    : m_source(source)
    , m_composition(composition)
    , m_output(output)
    , m_preset(preset)
    , m_edits(std::move(edits))
    , m_overlays(std::move(overlays))
{
}

SessionOutcome TranscodeSession::run(const SessionHooks& hooks)
{
    if (const SessionOutcome outcome = setUp(); outcome.status != SessionOutcome::Status::completed)
        return outcome;
    hooks.configured();
    for (const TimeRange& range : m_composition.ranges()) {
        const SessionOutcome outcome = transcodeRange(range, hooks);
        if (outcome.status != SessionOutcome::Status::completed)
            return outcome;
    }
    QString error;
    const bool flushed = (!m_graph || filterAndEncode(nullptr, &error)) && encode(nullptr, &error)
        && (!m_audio || m_audio->finish(&error));
    if (!flushed || !m_output.finish(&error))
        return SessionOutcome::failed(error);
    return SessionOutcome::completed();
}

SessionOutcome TranscodeSession::setUp()
{
    const std::optional<QSize> size = outputSize(m_preset, m_source.displaySize());
    if (!size)
        return SessionOutcome::unavailable(QStringLiteral("it would enlarge the %1x%2 picture")
                                               .arg(m_source.displaySize().width())
                                               .arg(m_source.displaySize().height()));
    m_edits.rotation = m_source.rotation();
    m_edits.output = *size;
    QString error;
    if (m_overlays && !m_overlays(*size, m_edits, &error))
        return SessionOutcome::failed(error);
    m_decoder = Ffmpeg::openDecoder(m_source.video(), 0);
    if (!m_decoder)
        return SessionOutcome::failed(QStringLiteral("the video cannot be decoded"));
    if (!openVideoEncoder(*size, &error))
        return SessionOutcome::unavailable(error);
    m_audio = AudioTranscoder::make(m_source, m_output, qualityOf(m_preset).audioBitRate, &error);
    if (!m_audio && m_source.audio())
        qWarning().noquote() << QStringLiteral("VideoEditor: Exporting without sound: ") + error;
    if (!m_output.open(&error))
        return SessionOutcome::failed(error);
    if (!m_output.writeHeader(&error))
        return SessionOutcome::unavailable(QStringLiteral("the container refuses the encoded streams: ") + error);
    return SessionOutcome::completed();
}

bool TranscodeSession::openVideoEncoder(QSize size, QString* error)
{
    const AVCodec* codec = h264Encoder();
    if (!codec) {
        *error = QStringLiteral("no H.264 encoder is installed");
        return false;
    }
    const AVStream& input = m_source.video();
    m_encoder.reset(avcodec_alloc_context3(codec));
    m_encoder->width = size.width();
    m_encoder->height = size.height();
    m_encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    m_encoder->sample_aspect_ratio = AVRational{1, 1};
    m_encoder->time_base = input.time_base;
    m_encoder->framerate = frameRateOf(input);
    m_encoder->thread_count = 0;
    if (m_output.needsGlobalHeaders())
        m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "crf", qualityOf(m_preset).crf, 0);
    av_dict_set(&options, "preset", qualityOf(m_preset).speed, 0);
    const int code = avcodec_open2(m_encoder.get(), codec, &options);
    av_dict_free(&options);
    if (code < 0) {
        *error = QStringLiteral("the H.264 encoder refuses %1x%2: %3").arg(size.width()).arg(size.height()).arg(Ffmpeg::errorText(code));
        return false;
    }
    m_stream = avformat_new_stream(m_output.context(), nullptr);
    if (!m_stream || avcodec_parameters_from_context(m_stream->codecpar, m_encoder.get()) < 0) {
        *error = QStringLiteral("cannot add the video track");
        return false;
    }
    m_stream->time_base = m_encoder->time_base;
    m_stream->avg_frame_rate = m_encoder->framerate;
    return true;
}

SessionOutcome TranscodeSession::transcodeRange(const TimeRange& range, const SessionHooks& hooks)
{
    if (!m_source.seek(range.start))
        return SessionOutcome::failed(QStringLiteral("cannot seek to %1 s").arg(range.start));
    avcodec_flush_buffers(m_decoder.get());
    if (m_audio) {
        avcodec_flush_buffers(&m_audio->decoder());
        m_audio->beginRange(range);
    }
    bool videoDone = false;
    bool audioDone = m_audio == nullptr;
    m_lastTime = range.start;
    QString error;
    Ffmpeg::Packet packet(av_packet_alloc());
    while (!(videoDone && audioDone) && av_read_frame(&m_source.input(), packet.get()) >= 0) {
        if (hooks.cancelled())
            return SessionOutcome::cancelled();
        bool ok = true;
        if (packet->stream_index == m_source.videoIndex() && !videoDone) {
            const int sent = avcodec_send_packet(m_decoder.get(), packet.get());
            ok = (sent >= 0 || sent == AVERROR_INVALIDDATA) && takeVideoFrames(range, videoDone, hooks, &error);
        } else if (m_audio && packet->stream_index == m_source.audioIndex() && !audioDone) {
            avcodec_send_packet(&m_audio->decoder(), packet.get());
            ok = takeAudioFrames(range, audioDone, &error);
        }
        av_packet_unref(packet.get());
        if (!ok)
            return SessionOutcome::failed(error.isEmpty() ? QStringLiteral("decoding the video failed") : error);
    }
    // The file ended inside the range: what the decoders still hold belongs to it.
    if (!videoDone) {
        avcodec_send_packet(m_decoder.get(), nullptr);
        if (!takeVideoFrames(range, videoDone, hooks, &error))
            return SessionOutcome::failed(error);
    }
    if (m_audio && !audioDone) {
        avcodec_send_packet(&m_audio->decoder(), nullptr);
        if (!takeAudioFrames(range, audioDone, &error))
            return SessionOutcome::failed(error);
    }
    if (!videoDone && m_lastTime < range.end - m_source.cutShortTolerance())
        return SessionOutcome::failed(cutShort(m_lastTime));
    if (m_audio && !m_audio->endRange(&error))
        return SessionOutcome::failed(error);
    m_cursor += range.duration();
    return SessionOutcome::completed();
}

bool TranscodeSession::takeVideoFrames(const TimeRange& range, bool& done, const SessionHooks& hooks, QString* error)
{
    const AVStream& input = m_source.video();
    while (!done && avcodec_receive_frame(m_decoder.get(), m_frame.get()) == 0) {
        const int64_t stamp = m_frame->best_effort_timestamp != AV_NOPTS_VALUE ? m_frame->best_effort_timestamp : m_frame->pts;
        const double time = stamp == AV_NOPTS_VALUE ? range.start : m_source.timeOf(stamp, input);
        m_lastTime = time;
        if (time >= m_source.stopOf(range.end) - kEdge) {
            done = true;
        } else if (time >= range.start - kEdge) {
            int64_t pts = Ffmpeg::timestamp(m_cursor + std::max(0.0, time - range.start), input.time_base);
            if (m_lastPts != AV_NOPTS_VALUE && pts <= m_lastPts)
                pts = m_lastPts + 1;
            m_lastPts = pts;
            m_frame->pts = pts;
            m_frame->pict_type = AV_PICTURE_TYPE_NONE;
            if (!filterAndEncode(m_frame.get(), error))
                return false;
            hooks.progress((m_cursor + time - range.start) / std::max(m_composition.duration(), 0.001));
        }
        av_frame_unref(m_frame.get());
    }
    return true;
}

bool TranscodeSession::takeAudioFrames(const TimeRange& range, bool& done, QString* error)
{
    Ffmpeg::Frame frame(av_frame_alloc());
    while (!done && avcodec_receive_frame(&m_audio->decoder(), frame.get()) == 0) {
        const int64_t stamp = frame->best_effort_timestamp != AV_NOPTS_VALUE ? frame->best_effort_timestamp : frame->pts;
        if (stamp != AV_NOPTS_VALUE && m_source.timeOf(stamp, *m_source.audio()) >= range.end)
            done = true;
        else if (!m_audio->add(*frame, error))
            return false;
        av_frame_unref(frame.get());
    }
    return true;
}

bool TranscodeSession::filterAndEncode(AVFrame* frame, QString* error)
{
    if (!m_graph) {
        if (!frame)
            return true;
        m_graph = VideoFilterGraph::make(*frame, m_source.video().time_base, m_edits, error);
        if (!m_graph)
            return false;
    }
    if (!m_graph->push(frame)) {
        *error = QStringLiteral("the picture filters refused a frame");
        return false;
    }
    while (m_graph->pull(*m_filtered) >= 0) {
        m_filtered->pts = av_rescale_q(m_filtered->pts, m_graph->outputTimeBase(), m_encoder->time_base);
        const bool encoded = encode(m_filtered.get(), error);
        av_frame_unref(m_filtered.get());
        if (!encoded)
            return false;
    }
    return true;
}

bool TranscodeSession::encode(AVFrame* frame, QString* error)
{
    return m_output.encode(*m_encoder, frame, *m_stream, "video", error);
}
