#include "media/worker/level_envelope.h"

#include "media/worker/ffmpeg_handles.h"

#include <algorithm>
#include <cmath>

namespace {

// Peaks of consecutive runs of `perBucket` samples.
class PeakCollector {
public:
    explicit PeakCollector(std::int64_t perBucket)
        : m_perBucket(perBucket)
    {
    }

    void add(const float* samples, int count)
    {
        for (int i = 0; i < count; ++i) {
            m_peak = std::max(m_peak, std::abs(samples[i]));
            if (++m_count == m_perBucket)
                close();
        }
    }

    std::vector<float> finish()
    {
        if (m_count > 0)
            close();
        return std::move(m_levels);
    }

private:
    void close()
    {
        m_levels.push_back(m_peak);
        m_peak = 0;
        m_count = 0;
    }

    std::int64_t m_perBucket;
    std::int64_t m_count = 0;
    float m_peak = 0;
    std::vector<float> m_levels;
};

// Decodes one audio stream, converts it to mono float at the target rate and feeds it on.
class AudioReader {
public:
    AudioReader(AVFormatContext& input, int streamIndex, Ffmpeg::Codec codec, int rate)
        : m_input(input)
        , m_stream(streamIndex)
        , m_codec(std::move(codec))
    {
        AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
        SwrContext* raw = nullptr;
        // Mono is the average of the channels, so the peaks stay those of the source.
        const int channels = std::max(1, m_codec->ch_layout.nb_channels);
        const std::vector<double> average(std::size_t(channels), 1.0 / channels);
        if (swr_alloc_set_opts2(&raw, &mono, AV_SAMPLE_FMT_FLT, rate, &m_codec->ch_layout, m_codec->sample_fmt,
                                m_codec->sample_rate, 0, nullptr)
                == 0
            && swr_set_matrix(raw, average.data(), channels) == 0 && swr_init(raw) == 0)
            m_resampler.reset(raw);
        else
            swr_free(&raw);
    }

    bool isReady() const { return m_resampler != nullptr; }

    // Reads to the end; false when decoding failed on the way.
    bool readAll(PeakCollector& peaks)
    {
        Ffmpeg::Packet packet(av_packet_alloc());
        Ffmpeg::Frame frame(av_frame_alloc());
        while (av_read_frame(&m_input, packet.get()) >= 0) {
            const bool ours = packet->stream_index == m_stream;
            const int sent = ours ? avcodec_send_packet(m_codec.get(), packet.get()) : 0;
            av_packet_unref(packet.get());
            if (sent < 0 && sent != AVERROR_INVALIDDATA)
                return false;
            if (ours)
                drain(*frame, peaks);
        }
        avcodec_send_packet(m_codec.get(), nullptr);
        drain(*frame, peaks);
        convert(nullptr, 0, peaks);
        return true;
    }

private:
    void drain(AVFrame& frame, PeakCollector& peaks)
    {
        while (avcodec_receive_frame(m_codec.get(), &frame) == 0) {
            convert(const_cast<const uint8_t**>(frame.extended_data), frame.nb_samples, peaks);
            av_frame_unref(&frame);
        }
    }

    void convert(const uint8_t** data, int count, PeakCollector& peaks)
    {
        const int room = swr_get_out_samples(m_resampler.get(), count);
        if (room <= 0)
            return;
        m_buffer.resize(std::size_t(room));
        auto* out = reinterpret_cast<uint8_t*>(m_buffer.data());
        const int converted = swr_convert(m_resampler.get(), &out, room, data, count);
        if (converted > 0)
            peaks.add(m_buffer.data(), converted);
    }

    AVFormatContext& m_input;
    int m_stream;
    Ffmpeg::Codec m_codec;
    Ffmpeg::Resampler m_resampler;
    std::vector<float> m_buffer;
};

constexpr int kMaxBuckets = 400000;

int bucketsFor(double duration)
{
    return std::clamp(int(duration * LevelEnvelope::kBucketsPerSecond), 64, kMaxBuckets);
}

LevelEnvelope::Result unreadable(LevelEnvelope::Result result, const LevelEnvelope::Options& options, QString problem)
{
    result.levels.assign(std::size_t(options.buckets > 0 ? options.buckets : bucketsFor(result.duration)), options.fill);
    result.problem = std::move(problem);
    return result;
}

} // namespace

std::int64_t LevelEnvelope::samplesPerBucket(double duration, int sampleRate, int buckets)
{
    const auto total = std::int64_t(std::floor(std::max(duration, 0.001) * sampleRate));
    return std::max<std::int64_t>(1, total / std::max(1, buckets));
}

LevelEnvelope::Result LevelEnvelope::read(const QString& path, const Options& options)
{
    Result result;
    QString error;
    const Ffmpeg::Input input = Ffmpeg::openInput(path, &error);
    if (!input)
        return unreadable(result, options, error);
    result.duration = input->duration > 0 ? double(input->duration) / AV_TIME_BASE : 0.0;
    const int buckets = options.buckets > 0 ? options.buckets : bucketsFor(result.duration);
    result.samplesPerBucket = samplesPerBucket(result.duration, options.sampleRate, buckets);

    const int stream = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (stream < 0)
        return unreadable(result, options, QStringLiteral("no audio track"));
    Ffmpeg::Codec codec = Ffmpeg::openDecoder(*input->streams[stream]);
    if (!codec)
        return unreadable(result, options, QStringLiteral("the audio cannot be decoded"));
    AudioReader reader(*input, stream, std::move(codec), options.sampleRate);
    if (!reader.isReady())
        return unreadable(result, options, QStringLiteral("the audio cannot be converted"));
    PeakCollector peaks(result.samplesPerBucket);
    if (!reader.readAll(peaks))
        return unreadable(result, options, QStringLiteral("reading the audio stopped"));
    result.levels = peaks.finish();
    return result;
}
