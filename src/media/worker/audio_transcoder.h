#pragma once

#include "media/time_range.h"
#include "media/worker/export_output.h"
#include "media/worker/export_source.h"

#include <vector>

// The sound of an export: the source's audio decoded, cut to the kept ranges to the
// sample, resampled and encoded as AAC, each range exactly as long as the video's so the
// two stay together across cuts (gaps in the source are filled with silence).
class AudioTranscoder {
public:
    // Nothing when the source's audio cannot be decoded or no AAC encoder is there; the
    // export then goes on without sound.
    static std::unique_ptr<AudioTranscoder> make(const ExportSource& source, ExportOutput& output, int64_t bitRate,
                                                 QString* error);

    AVCodecContext& decoder() const { return *m_decoder; }

    void beginRange(const TimeRange& range);
    // One decoded frame of the source; what lies outside the range is dropped. False when
    // writing failed.
    bool add(const AVFrame& frame, QString* error);
    bool endRange(QString* error);
    // Encodes what is left and drains the encoder.
    bool finish(QString* error);

private:
    AudioTranscoder(const ExportSource& source, ExportOutput& output);

    bool openEncoder(int64_t bitRate, QString* error);
    bool resetResampler();
    bool append(const float* const* planes, int offset, int count, QString* error);
    bool encodeFull(bool flushAll, QString* error);
    bool send(AVFrame* frame, QString* error);

    const ExportSource& m_source;
    ExportOutput& m_output;
    Ffmpeg::Codec m_decoder;
    Ffmpeg::Codec m_encoder;
    Ffmpeg::Resampler m_resampler;
    Ffmpeg::AudioFifo m_fifo;
    AVStream* m_stream = nullptr;
    std::vector<std::vector<float>> m_planes;
    TimeRange m_range;
    // Samples of the current range so far, and how many it must have.
    int64_t m_rangeSamples = 0;
    int64_t m_rangeTarget = 0;
    int64_t m_nextPts = 0;
};
