#include "media/export_session_preset.h"

#include <algorithm>
#include <cmath>

namespace {

using P = ExportSessionPreset;

constexpr P kAllPresets[] = {P::passthrough,   P::size960x540,   P::size1280x720, P::size1920x1080,
                             P::size3840x2160, P::mediumQuality, P::highestQuality};

int evenAtLeastTwo(double value)
{
    return std::max(2, int(std::lround(value / 2)) * 2);
}

} // namespace

QString name(ExportSessionPreset preset)
{
    switch (preset) {
    case P::passthrough: return QStringLiteral("AVAssetExportPresetPassthrough");
    case P::size960x540: return QStringLiteral("AVAssetExportPreset960x540");
    case P::size1280x720: return QStringLiteral("AVAssetExportPreset1280x720");
    case P::size1920x1080: return QStringLiteral("AVAssetExportPreset1920x1080");
    case P::size3840x2160: return QStringLiteral("AVAssetExportPreset3840x2160");
    case P::mediumQuality: return QStringLiteral("AVAssetExportPresetMediumQuality");
    case P::highestQuality: return QStringLiteral("AVAssetExportPresetHighestQuality");
    }
    return {};
}

std::optional<ExportSessionPreset> exportSessionPresetFromName(QStringView text)
{
    for (const P preset : kAllPresets) {
        if (text == name(preset))
            return preset;
    }
    return std::nullopt;
}

QList<ExportSessionPreset> sessionPresetsFor(VideoExportPreset preset)
{
    switch (preset) {
    case VideoExportPreset::original: return {P::passthrough};
    // Titled 720p, yet 960x540 comes first: smaller uploads go through faster.
    case VideoExportPreset::socialMedia: return {P::size960x540, P::mediumQuality, P::highestQuality};
    case VideoExportPreset::hd: return {P::size1280x720, P::size960x540, P::highestQuality};
    case VideoExportPreset::fullHD: return {P::size1920x1080, P::size1280x720, P::highestQuality};
    case VideoExportPreset::fourK: return {P::size3840x2160, P::size1920x1080, P::highestQuality};
    }
    return {};
}

std::optional<QSize> boxOf(ExportSessionPreset preset)
{
    switch (preset) {
    case P::size960x540: return QSize(960, 540);
    case P::size1280x720: return QSize(1280, 720);
    case P::size1920x1080: return QSize(1920, 1080);
    case P::size3840x2160: return QSize(3840, 2160);
    default: return std::nullopt;
    }
}

std::optional<QSize> outputSize(ExportSessionPreset preset, QSize display)
{
    if (preset == P::passthrough || display.isEmpty())
        return std::nullopt;
    const std::optional<QSize> box = boxOf(preset);
    if (!box)
        return QSize(evenAtLeastTwo(display.width()), evenAtLeastTwo(display.height()));
    const bool portrait = display.height() > display.width();
    const QSize fit = portrait ? box->transposed() : *box;
    const double scale = std::min(double(fit.width()) / display.width(), double(fit.height()) / display.height());
    if (scale > 1.0)
        return std::nullopt;
    return QSize(evenAtLeastTwo(display.width() * scale), evenAtLeastTwo(display.height() * scale));
}
