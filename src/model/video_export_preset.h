#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// Named export settings for videos; the raw values are stored in
// PostMedia::renderedExportPreset and the "PublishingExportPreset" preference.
enum class VideoExportPreset { original, socialMedia, hd, fullHD, fourK };

inline constexpr VideoExportPreset kDefaultVideoExportPreset = VideoExportPreset::socialMedia;

QString rawValue(VideoExportPreset preset);
std::optional<VideoExportPreset> videoExportPresetFromRawValue(QStringView raw);
// "Original", "Social Media (720p)", "HD (720p)", "Full HD (1080p)", "4K (2160p)".
QString title(VideoExportPreset preset);
