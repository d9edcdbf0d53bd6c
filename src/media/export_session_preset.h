#pragma once

#include "model/video_export_preset.h"

#include <QList>
#include <QSize>
#include <QString>

#include <optional>

// One attempt of an export: keep the streams as they are, fit the picture into a box, or
// keep its size at one of two quality levels. A VideoExportPreset is an ordered list of
// these; the first that can be made is used.
enum class ExportSessionPreset { passthrough, size960x540, size1280x720, size1920x1080, size3840x2160, mediumQuality, highestQuality };

// "AVAssetExportPresetPassthrough", "AVAssetExportPreset1280x720", ...: the names the log
// lines and the job requests use.
QString name(ExportSessionPreset preset);
std::optional<ExportSessionPreset> exportSessionPresetFromName(QStringView name);

// The attempts of a VideoExportPreset, in the order they are tried.
QList<ExportSessionPreset> sessionPresetsFor(VideoExportPreset preset);

// The box a sized preset fits the picture into (landscape; a portrait picture uses it
// turned), nothing for the presets that keep the size.
std::optional<QSize> boxOf(ExportSessionPreset preset);

// The size a re-encoding preset gives a picture shown at `display` size: scaled down to fit
// the box with its aspect ratio kept, or kept; rounded to even numbers, as 4:2:0 video needs.
// Nothing when the preset would have to enlarge the picture, which counts as a preset that
// cannot be used. Passthrough has no output size of its own.
std::optional<QSize> outputSize(ExportSessionPreset preset, QSize display);
