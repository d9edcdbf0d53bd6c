#include "media/worker/media_probe.h"

#include "media/worker/ffmpeg_handles.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cmath>

namespace {

const char* typeName(AVMediaType type)
{
    switch (type) {
    case AVMEDIA_TYPE_VIDEO: return "video";
    case AVMEDIA_TYPE_AUDIO: return "audio";
    case AVMEDIA_TYPE_SUBTITLE: return "subtitle";
    default: return "other";
    }
}

// The display matrix turns counter-clockwise; players (and people) speak of clockwise.
int rotationOf(const AVStream& stream)
{
    const auto* matrix = reinterpret_cast<const int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (!matrix)
        return 0;
    const double degrees = -av_display_rotation_get(matrix);
    const int rounded = int(std::lround(degrees)) % 360;
    return rounded < 0 ? rounded + 360 : rounded;
}

Json describe(const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
    Json json{{"index", stream.index}, {"type", typeName(parameters.codec_type)}, {"codec", codec ? codec->name : "unknown"}};
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO) {
        json["width"] = parameters.width;
        json["height"] = parameters.height;
        if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0)
            json["frameRate"] = av_q2d(stream.avg_frame_rate);
        json["rotation"] = rotationOf(stream);
    } else if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
        json["sampleRate"] = parameters.sample_rate;
        json["channels"] = parameters.ch_layout.nb_channels;
    }
    return json;
}

} // namespace

Json MediaProbe::run(const QString& path)
{
    QString error;
    const Ffmpeg::Input input = Ffmpeg::openInput(path, &error);
    if (!input)
        return {{"error", "unreadable"}, {"message", QString(path + QStringLiteral(": ") + error).toStdString()}};
    Json streams = Json::array();
    for (unsigned i = 0; i < input->nb_streams; ++i)
        streams.push_back(describe(*input->streams[i]));
    // The file's rotation is its first video stream's.
    const auto video = std::find_if(streams.begin(), streams.end(), [](const Json& stream) { return stream["type"] == "video"; });
    const int rotation = video == streams.end() ? 0 : (*video)["rotation"].get<int>();
    const double duration = input->duration > 0 ? double(input->duration) / AV_TIME_BASE : 0.0;
    return {{"container", input->iformat->name}, {"duration", duration}, {"streams", streams}, {"rotation", rotation}};
}
