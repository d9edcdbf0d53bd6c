#pragma once

#include "media/worker/ffmpeg_handles.h"

#include <QSize>
#include <QString>

#include <optional>

// The video being exported: its container opened, the video track (required) and the
// audio track (optional) chosen, and how its picture is shown.
class ExportSource {
public:
    enum class Problem { unreadable, noVideo };

    // Nothing when the file cannot be read or holds no video; `problem` and `error` say which.
    static std::optional<ExportSource> open(const QString& path, Problem* problem, QString* error);

    AVFormatContext& input() const { return *m_input; }
    AVStream& video() const { return *m_input->streams[m_video]; }
    AVStream* audio() const { return m_audio >= 0 ? m_input->streams[m_audio] : nullptr; }
    int videoIndex() const { return m_video; }
    int audioIndex() const { return m_audio; }
    // The video track's length (the sound may run on past it).
    double duration() const { return m_duration; }
    // Pictures that stop this long before where they should go on mean the file was cut
    // off (a download or copy that did not finish) while its header still claims the full length.
    double cutShortTolerance() const;
    // Clockwise degrees a player turns the picture: 0, 90, 180 or 270.
    int rotation() const { return m_rotation; }
    // The picture as shown: square pixels, turned by the rotation.
    QSize displaySize() const;

    // A timestamp of one of the streams as seconds on the source's timeline (0 is where
    // the file starts playing, whatever its first timestamp).
    double timeOf(int64_t timestamp, const AVStream& stream) const;

    // Where copying or decoding a range stops: its end, or nowhere for a range that runs
    // to the end of the video, so the last frame is kept whatever the header's rounding.
    double stopOf(double end) const;

    // Moves to the key frame at or before `seconds` and forgets what was read.
    bool seek(double seconds) const;

private:
    ExportSource() = default;

    Ffmpeg::Input m_input;
    int m_video = -1;
    int m_audio = -1;
    double m_duration = 0;
    int m_rotation = 0;
    double m_startOffset = 0;
};
