#pragma once

#include "media/composition.h"
#include "media/worker/export_output.h"
#include "media/worker/export_source.h"
#include "media/worker/session_outcome.h"

// Copies the kept ranges without re-encoding: every packet keeps its bits. A copied video
// stream can only begin on a key frame, so each range starts at the key frame at or
// before its start (up to one key-frame interval early) and ends with the last frame
// decoded before its end.
class PassthroughSession {
public:
    PassthroughSession(const ExportSource& source, const Composition& composition, ExportOutput& output);

    SessionOutcome run(const SessionHooks& hooks);

private:
    struct Track {
        int input = -1;
        AVStream* output = nullptr;
        int64_t lastDts = AV_NOPTS_VALUE;
    };

    bool addStreams(QString* error);
    SessionOutcome copyRange(const TimeRange& range, const SessionHooks& hooks);
    bool writeShifted(AVPacket& packet, Track& track, double shift, QString* error);

    const ExportSource& m_source;
    const Composition& m_composition;
    ExportOutput& m_output;
    Track m_video;
    Track m_audio;
    // Where the next range begins in the output, in seconds.
    double m_cursor = 0;
};
