#pragma once

#include "media/composition.h"
#include "media/export_session_preset.h"
#include "media/worker/audio_transcoder.h"
#include "media/worker/export_output.h"
#include "media/worker/export_source.h"
#include "media/worker/session_outcome.h"
#include "media/worker/video_filter_graph.h"

#include <functional>

// Re-encodes the kept ranges as H.264 and AAC: pictures decoded from the key frame before
// each range, those inside it kept to the frame, turned upright, scaled for the preset,
// captions and watermark drawn.
class TranscodeSession {
public:
    // Fills the watermark of the edits once the output size is known.
    using OverlayPreparer = std::function<bool(QSize output, PictureEdits& edits, QString* error)>;

    TranscodeSession(const ExportSource& source, const Composition& composition, ExportOutput& output,
                     ExportSessionPreset preset, PictureEdits edits, OverlayPreparer overlays);

    SessionOutcome run(const SessionHooks& hooks);

private:
    SessionOutcome setUp();
    bool openVideoEncoder(QSize size, QString* error);
    SessionOutcome transcodeRange(const TimeRange& range, const SessionHooks& hooks);
    bool takeVideoFrames(const TimeRange& range, bool& done, const SessionHooks& hooks, QString* error);
    bool takeAudioFrames(const TimeRange& range, bool& done, QString* error);
    bool filterAndEncode(AVFrame* frame, QString* error);
    bool encode(AVFrame* frame, QString* error);

    const ExportSource& m_source;
    const Composition& m_composition;
    ExportOutput& m_output;
    ExportSessionPreset m_preset;
    PictureEdits m_edits;
    OverlayPreparer m_overlays;

    Ffmpeg::Codec m_decoder;
    Ffmpeg::Codec m_encoder;
    AVStream* m_stream = nullptr;
    std::unique_ptr<VideoFilterGraph> m_graph;
    std::unique_ptr<AudioTranscoder> m_audio;
    Ffmpeg::Frame m_frame{av_frame_alloc()};
    Ffmpeg::Frame m_filtered{av_frame_alloc()};
    double m_cursor = 0;
    // The time of the last picture decoded, to tell a file that ends early.
    double m_lastTime = 0;
    int64_t m_lastPts = AV_NOPTS_VALUE;
};
