#pragma once

#include "core/json.h"
#include "media/export_session_preset.h"
#include "media/time_range.h"
#include "media/watermark.h"
#include "model/subtitle_segment.h"

#include <QList>
#include <QString>

#include <optional>

// One export job: the kept ranges of `input` (all of it when none) written to `output`
// with the first of `presets` that can be made, captions burned in and the watermark drawn.
// The output's extension picks the container: "mov", "m4v", anything else MP4.
struct VideoExportRequest {
    QString input;
    QString output;
    QList<ExportSessionPreset> presets;
    QList<TimeRange> clips;
    // Timed on the source; moved onto the kept ranges by the worker.
    QList<SubtitleSegment> subtitles;
    std::optional<Watermark> watermark;

    // Captions and a watermark are drawn into the picture, so the streams cannot be copied.
    bool drawsOnPicture() const { return !subtitles.isEmpty() || watermark.has_value(); }

    Json toJson() const;
    // Nothing, and the reason in `error`, for a request that lacks a path or a preset.
    static std::optional<VideoExportRequest> fromJson(const Json& json, QString* error);

    // Where the worker writes until the export is complete; removed when it is not.
    static QString partialPath(const QString& output) { return output + QStringLiteral(".part"); }
};
