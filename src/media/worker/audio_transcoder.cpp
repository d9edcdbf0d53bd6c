#include "media/worker/audio_transcoder.h"

#include <algorithm>
#include <cmath>

namespace {

int outputRate(const AVCodec& encoder, int sourceRate)
{
    for (const int* rate = encoder.supported_samplerates; rate && *rate; ++rate) {
        if (*rate == sourceRate)
            return sourceRate;
    }
    return 48000;
}

} // namespace

AudioTranscoder::AudioTranscoder(const ExportSource& source, ExportOutput& output)
    : m_source(source)
    , m_output(output)
{
}

std::unique_ptr<AudioTranscoder> AudioTranscoder::make(const ExportSource& source, ExportOutput& output, int64_t bitRate,
                                                       QString* error)
{
    if (!source.audio())
        return nullptr;
    std::unique_ptr<AudioTranscoder> audio(new AudioTranscoder(source, output));
    audio->m_decoder = Ffmpeg::openDecoder(*source.audio());
    if (!audio->m_decoder || audio->m_decoder->sample_rate <= 0) {
        *error = QStringLiteral("the sound cannot be decoded");
        return nullptr;
    }
    if (!audio->openEncoder(bitRate, error))
        return nullptr;
    if (!audio->resetResampler()) {
        *error = QStringLiteral("the sound cannot be converted");
        return nullptr;
    }
    return audio;
}

bool AudioTranscoder::openEncoder(int64_t bitRate, QString* error)
{
    const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!aac) {
        *error = QStringLiteral("no AAC encoder");
        return false;
    }
    m_encoder.reset(avcodec_alloc_context3(aac));
    m_encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_encoder->sample_rate = outputRate(*aac, m_decoder->sample_rate);
    av_channel_layout_default(&m_encoder->ch_layout, m_decoder->ch_layout.nb_channels >= 2 ? 2 : 1);
    m_encoder->bit_rate = bitRate;
    m_encoder->time_base = AVRational{1, m_encoder->sample_rate};
    if (m_output.needsGlobalHeaders())
        m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int code = avcodec_open2(m_encoder.get(), aac, nullptr); code < 0) {
        *error = QStringLiteral("the AAC encoder refuses: ") + Ffmpeg::errorText(code);
        return false;
    }
    m_stream = avformat_new_stream(m_output.context(), nullptr);
    if (!m_stream || avcodec_parameters_from_context(m_stream->codecpar, m_encoder.get()) < 0) {
        *error = QStringLiteral("cannot add the sound track");
        return false;
    }
    m_stream->time_base = m_encoder->time_base;
    m_fifo.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, m_encoder->ch_layout.nb_channels, m_encoder->frame_size * 4));
    m_planes.resize(std::size_t(m_encoder->ch_layout.nb_channels));
    if (!m_fifo)
        *error = QStringLiteral("out of memory for the sound");
    return m_fifo != nullptr;
}

bool AudioTranscoder::resetResampler()
{
    SwrContext* raw = nullptr;
    if (swr_alloc_set_opts2(&raw, &m_encoder->ch_layout, AV_SAMPLE_FMT_FLTP, m_encoder->sample_rate, &m_decoder->ch_layout,
                            m_decoder->sample_fmt, m_decoder->sample_rate, 0, nullptr)
            < 0
        || swr_init(raw) < 0) {
        swr_free(&raw);
        return false;
    }
    m_resampler.reset(raw);
    return true;
}

void AudioTranscoder::beginRange(const TimeRange& range)
{
    m_range = range;
    m_rangeSamples = 0;
    m_rangeTarget = int64_t(std::llround(range.duration() * m_encoder->sample_rate));
    // Samples held back by the resampler belong to the previous range.
    resetResampler();
}

bool AudioTranscoder::add(const AVFrame& frame, QString* error)
{
    if (frame.pts == AV_NOPTS_VALUE && frame.best_effort_timestamp == AV_NOPTS_VALUE)
        return true;
    const int64_t timestamp = frame.best_effort_timestamp != AV_NOPTS_VALUE ? frame.best_effort_timestamp : frame.pts;
    const double start = m_source.timeOf(timestamp, *m_source.audio());
    const int rate = m_encoder->sample_rate;
    const int room = swr_get_out_samples(m_resampler.get(), frame.nb_samples);
    if (room <= 0)
        return true;
    std::vector<uint8_t*> out(m_planes.size());
    for (std::size_t c = 0; c < m_planes.size(); ++c) {
        m_planes[c].resize(std::size_t(room));
        out[c] = reinterpret_cast<uint8_t*>(m_planes[c].data());
    }
    const int converted = swr_convert(m_resampler.get(), out.data(), room, const_cast<const uint8_t**>(frame.extended_data),
                                      frame.nb_samples);
    if (converted <= 0)
        return true;
    // Where this frame's samples fall in the range: skip what lies before it, stop at its end.
    const int64_t first = int64_t(std::llround((start - m_range.start) * rate));
    const int64_t skip = std::max<int64_t>(0, -first);
    // A frame that starts later than the samples so far leaves a gap: fill it with silence.
    const int64_t at = std::max<int64_t>(first, 0);
    // Resampling moves frame edges by a sample or two; only a real hole is filled.
    if (at > m_rangeSamples + rate / 100 && at < m_rangeTarget) {
        const std::vector<float> silence(std::size_t(std::min<int64_t>(at, m_rangeTarget) - m_rangeSamples), 0.0f);
        std::vector<const float*> planes(m_planes.size(), silence.data());
        if (!append(planes.data(), 0, int(silence.size()), error))
            return false;
    }
    const int64_t count = std::min<int64_t>(converted - skip, m_rangeTarget - m_rangeSamples);
    if (count <= 0)
        return true;
    std::vector<const float*> planes(m_planes.size());
    for (std::size_t c = 0; c < m_planes.size(); ++c)
        planes[c] = m_planes[c].data();
    return append(planes.data(), int(skip), int(count), error);
}

bool AudioTranscoder::append(const float* const* planes, int offset, int count, QString* error)
{
    std::vector<void*> data(m_planes.size());
    for (std::size_t c = 0; c < m_planes.size(); ++c)
        data[c] = const_cast<float*>(planes[c] + offset);
    if (av_audio_fifo_write(m_fifo.get(), data.data(), count) < count) {
        *error = QStringLiteral("out of memory for the sound");
        return false;
    }
    m_rangeSamples += count;
    return encodeFull(false, error);
}

bool AudioTranscoder::endRange(QString* error)
{
    if (m_rangeSamples >= m_rangeTarget)
        return true;
    const std::vector<float> silence(std::size_t(m_rangeTarget - m_rangeSamples), 0.0f);
    std::vector<const float*> planes(m_planes.size(), silence.data());
    return append(planes.data(), 0, int(silence.size()), error);
}

bool AudioTranscoder::encodeFull(bool flushAll, QString* error)
{
    const int frameSize = m_encoder->frame_size;
    while (av_audio_fifo_size(m_fifo.get()) >= frameSize || (flushAll && av_audio_fifo_size(m_fifo.get()) > 0)) {
        Ffmpeg::Frame frame(av_frame_alloc());
        frame->nb_samples = std::min(frameSize, av_audio_fifo_size(m_fifo.get()));
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->sample_rate = m_encoder->sample_rate;
        av_channel_layout_copy(&frame->ch_layout, &m_encoder->ch_layout);
        if (av_frame_get_buffer(frame.get(), 0) < 0
            || av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void**>(frame->data), frame->nb_samples) < frame->nb_samples) {
            *error = QStringLiteral("out of memory for the sound");
            return false;
        }
        frame->pts = m_nextPts;
        m_nextPts += frame->nb_samples;
        if (!send(frame.get(), error))
            return false;
    }
    return true;
}

bool AudioTranscoder::send(AVFrame* frame, QString* error)
{
    return m_output.encode(*m_encoder, frame, *m_stream, "sound", error);
}

bool AudioTranscoder::finish(QString* error)
{
    return encodeFull(true, error) && send(nullptr, error);
}
