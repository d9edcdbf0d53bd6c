#pragma once

#include "core/json.h"

#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

class PreferenceStore;

enum class WatermarkCorner { topLeft, topRight, bottomLeft, bottomRight };

// The image drawn over published videos, and where: read from the "Watermark…" preferences.
struct Watermark {
    QString imagePath;
    WatermarkCorner corner = WatermarkCorner::bottomRight;
    double marginMultiplier = 1.0;
    double sizeMultiplier = 0.5;

    bool operator==(const Watermark&) const = default;

    // Nothing when the watermark is switched off or no image is chosen.
    static std::optional<Watermark> fromPreferences(const PreferenceStore& preferences);

    // Where the image goes on a picture of `video` size: its longer side is 40% of the
    // picture's shorter side at size 1.0, its distance from the two edges 4% at margin
    // 1.0; never larger than the picture itself.
    QRect placement(QSize video, QSize image) const;

    Json toJson() const;
    static std::optional<Watermark> fromJson(const Json& json);
};

QString rawValue(WatermarkCorner corner);
std::optional<WatermarkCorner> watermarkCornerFromRawValue(QStringView raw);
