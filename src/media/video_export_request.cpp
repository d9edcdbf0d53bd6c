#include "media/video_export_request.h"

#include <QUuid>

namespace {

QString stringOf(const Json& json, const char* key)
{
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? QString::fromStdString(found->get<std::string>()) : QString();
}

std::optional<double> numberOf(const Json& json, const char* key)
{
    const auto found = json.find(key);
    return found != json.end() && found->is_number() ? std::optional(found->get<double>()) : std::nullopt;
}

const Json& arrayOf(const Json& json, const char* key)
{
    static const Json empty = Json::array();
    const auto found = json.find(key);
    return found != json.end() && found->is_array() ? *found : empty;
}

} // namespace

Json VideoExportRequest::toJson() const
{
    Json json{{"job", "export"}, {"input", input.toStdString()}, {"output", output.toStdString()}};
    Json presetNames = Json::array();
    for (const ExportSessionPreset preset : presets)
        presetNames.push_back(name(preset).toStdString());
    json["presets"] = presetNames;
    Json ranges = Json::array();
    for (const TimeRange& clip : clips)
        ranges.push_back({{"start", clip.start}, {"end", clip.end}});
    json["clips"] = ranges;
    Json captions = Json::array();
    for (const SubtitleSegment& caption : subtitles)
        captions.push_back({{"start", caption.start}, {"end", caption.end}, {"text", caption.text.toStdString()}});
    json["subtitles"] = captions;
    if (watermark)
        json["watermark"] = watermark->toJson();
    return json;
}

std::optional<VideoExportRequest> VideoExportRequest::fromJson(const Json& json, QString* error)
{
    VideoExportRequest request;
    request.input = stringOf(json, "input");
    request.output = stringOf(json, "output");
    if (request.input.isEmpty() || request.output.isEmpty()) {
        *error = QStringLiteral("an export needs \"input\" and \"output\" paths");
        return std::nullopt;
    }
    for (const Json& presetName : arrayOf(json, "presets")) {
        const auto preset = presetName.is_string()
            ? exportSessionPresetFromName(QString::fromStdString(presetName.get<std::string>()))
            : std::nullopt;
        if (!preset) {
            *error = QStringLiteral("unknown export preset ") + QString::fromStdString(presetName.dump());
            return std::nullopt;
        }
        request.presets.append(*preset);
    }
    for (const Json& clip : arrayOf(json, "clips")) {
        const auto start = numberOf(clip, "start");
        const auto end = numberOf(clip, "end");
        if (!start || !end) {
            *error = QStringLiteral("a clip needs numeric \"start\" and \"end\"");
            return std::nullopt;
        }
        request.clips.append(TimeRange{*start, *end});
    }
    for (const Json& caption : arrayOf(json, "subtitles")) {
        SubtitleSegment segment;
        segment.id = QUuid::createUuid();
        segment.start = numberOf(caption, "start").value_or(0);
        segment.end = numberOf(caption, "end").value_or(0);
        segment.text = stringOf(caption, "text");
        request.subtitles.append(segment);
    }
    if (const auto found = json.find("watermark"); found != json.end() && !found->is_null()) {
        request.watermark = Watermark::fromJson(*found);
        if (!request.watermark) {
            *error = QStringLiteral("a watermark needs an \"imagePath\"");
            return std::nullopt;
        }
    }
    return request;
}
