#include "model/video_export_preset.h"

QString rawValue(VideoExportPreset preset)
{
    switch (preset) {
    case VideoExportPreset::original:
        return QStringLiteral("original");
    case VideoExportPreset::socialMedia:
        return QStringLiteral("socialMedia");
    case VideoExportPreset::hd:
        return QStringLiteral("hd");
    case VideoExportPreset::fullHD:
        return QStringLiteral("fullHD");
    case VideoExportPreset::fourK:
        return QStringLiteral("fourK");
    }
    return {};
}

std::optional<VideoExportPreset> videoExportPresetFromRawValue(QStringView raw)
{
    for (const auto preset : {VideoExportPreset::original, VideoExportPreset::socialMedia, VideoExportPreset::hd,
                              VideoExportPreset::fullHD, VideoExportPreset::fourK}) {
        if (raw == rawValue(preset))
            return preset;
    }
    return std::nullopt;
}

QString title(VideoExportPreset preset)
{
    switch (preset) {
    case VideoExportPreset::original:
        return QStringLiteral("Original");
    case VideoExportPreset::socialMedia:
        return QStringLiteral("Social Media (720p)");
    case VideoExportPreset::hd:
        return QStringLiteral("HD (720p)");
    case VideoExportPreset::fullHD:
        return QStringLiteral("Full HD (1080p)");
    case VideoExportPreset::fourK:
        return QStringLiteral("4K (2160p)");
    }
    return {};
}
