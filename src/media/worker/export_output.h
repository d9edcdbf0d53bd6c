#pragma once

#include "media/worker/ffmpeg_handles.h"

#include <QString>

// The file an export writes: the muxer for the output's extension ("mov", "m4v", anything
// else MP4), writing into a partial file beside the output that becomes the output only
// when the export completes. Destroyed unfinished, it removes the partial file, so a
// failed or cancelled export never leaves a half-written file at the output path.
class ExportOutput {
public:
    explicit ExportOutput(QString path);
    ~ExportOutput();
    ExportOutput(const ExportOutput&) = delete;
    ExportOutput& operator=(const ExportOutput&) = delete;

    // "com.apple.quicktime-movie", "com.apple.m4v-video" or "public.mpeg-4".
    static QString fileTypeFor(const QString& path);

    // False (and `error`) when no muxer could be set up.
    bool create(QString* error);
    AVFormatContext* context() const { return m_context; }
    bool needsGlobalHeaders() const;

    // Opens the partial file; false when it cannot be written (a missing or read-only folder).
    bool open(QString* error);
    // Writes the container header; false when the container refuses the streams.
    bool writeHeader(QString* error);
    bool write(AVPacket& packet, QString* error);
    // Hands a frame (nothing: the end) to an encoder and writes every packet it gives back
    // to `stream`. `what` names the track in the error ("video", "sound").
    bool encode(AVCodecContext& encoder, AVFrame* frame, const AVStream& stream, const char* what, QString* error);
    // Writes the trailer and puts the file in place of any earlier one at the output path.
    bool finish(QString* error);

private:
    void discard();

    QString m_path;
    QString m_partial;
    AVFormatContext* m_context = nullptr;
    bool m_opened = false;
    bool m_finished = false;
};
