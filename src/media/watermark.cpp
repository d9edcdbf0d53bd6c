#include "media/watermark.h"

#include "core/preference_keys.h"
#include "core/preference_store.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSizeShare = 0.4;
constexpr double kMarginShare = 0.04;

double finiteOr(double value, double fallback)
{
    return std::isfinite(value) && value >= 0 ? value : fallback;
}

double numberOr(const Json& json, const char* key, double fallback)
{
    const auto found = json.find(key);
    return found != json.end() && found->is_number() ? finiteOr(found->get<double>(), fallback) : fallback;
}

} // namespace

QString rawValue(WatermarkCorner corner)
{
    switch (corner) {
    case WatermarkCorner::topLeft: return QStringLiteral("topLeft");
    case WatermarkCorner::topRight: return QStringLiteral("topRight");
    case WatermarkCorner::bottomLeft: return QStringLiteral("bottomLeft");
    case WatermarkCorner::bottomRight: return QStringLiteral("bottomRight");
    }
    return {};
}

std::optional<WatermarkCorner> watermarkCornerFromRawValue(QStringView raw)
{
    for (const auto corner : {WatermarkCorner::topLeft, WatermarkCorner::topRight, WatermarkCorner::bottomLeft,
                              WatermarkCorner::bottomRight}) {
        if (raw == rawValue(corner))
            return corner;
    }
    return std::nullopt;
}

std::optional<Watermark> Watermark::fromPreferences(const PreferenceStore& preferences)
{
    using namespace PreferenceKeys;
    if (!preferences.valueOrDefault(WatermarkEnabled).toBool())
        return std::nullopt;
    Watermark watermark;
    watermark.imagePath = preferences.valueOrDefault(WatermarkImagePath).toString();
    if (watermark.imagePath.trimmed().isEmpty())
        return std::nullopt;
    watermark.corner = watermarkCornerFromRawValue(preferences.valueOrDefault(WatermarkPosition).toString())
                           .value_or(WatermarkCorner::bottomRight);
    watermark.marginMultiplier = finiteOr(preferences.valueOrDefault(WatermarkMarginMultiplier).toDouble(), 1.0);
    watermark.sizeMultiplier = finiteOr(preferences.valueOrDefault(WatermarkSizeMultiplier).toDouble(), 0.5);
    return watermark;
}

QRect Watermark::placement(QSize video, QSize image) const
{
    if (video.isEmpty() || image.isEmpty())
        return {};
    const double shorter = std::min(video.width(), video.height());
    const double longest = std::max(1.0, shorter * kSizeShare * sizeMultiplier);
    double scale = longest / std::max(image.width(), image.height());
    scale = std::min({scale, double(video.width()) / image.width(), double(video.height()) / image.height()});
    const QSize size(std::max(1, int(std::lround(image.width() * scale))), std::max(1, int(std::lround(image.height() * scale))));
    const int margin = int(std::lround(shorter * kMarginShare * marginMultiplier));
    const int right = std::max(0, video.width() - size.width() - margin);
    const int bottom = std::max(0, video.height() - size.height() - margin);
    const int left = std::min(margin, video.width() - size.width());
    const int top = std::min(margin, video.height() - size.height());
    const bool atLeft = corner == WatermarkCorner::topLeft || corner == WatermarkCorner::bottomLeft;
    const bool atTop = corner == WatermarkCorner::topLeft || corner == WatermarkCorner::topRight;
    return QRect(QPoint(atLeft ? left : right, atTop ? top : bottom), size);
}

Json Watermark::toJson() const
{
    return {{"imagePath", imagePath.toStdString()},
            {"corner", rawValue(corner).toStdString()},
            {"marginMultiplier", marginMultiplier},
            {"sizeMultiplier", sizeMultiplier}};
}

std::optional<Watermark> Watermark::fromJson(const Json& json)
{
    if (!json.is_object() || !json.contains("imagePath") || !json["imagePath"].is_string())
        return std::nullopt;
    Watermark watermark;
    watermark.imagePath = QString::fromStdString(json["imagePath"].get<std::string>());
    const auto corner = json.find("corner");
    if (corner != json.end() && corner->is_string())
        watermark.corner = watermarkCornerFromRawValue(QString::fromStdString(corner->get<std::string>()))
                               .value_or(WatermarkCorner::bottomRight);
    watermark.marginMultiplier = numberOr(json, "marginMultiplier", 1.0);
    watermark.sizeMultiplier = numberOr(json, "sizeMultiplier", 0.5);
    return watermark;
}
