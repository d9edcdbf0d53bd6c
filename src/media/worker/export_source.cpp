#include "media/worker/export_source.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

int rotationOf(const AVStream& stream)
{
    const auto* matrix = reinterpret_cast<const int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (!matrix)
        return 0;
    // The matrix turns counter-clockwise; snap to the quarter turns players honour.
    const int degrees = int(std::lround(-av_display_rotation_get(matrix) / 90.0)) * 90 % 360;
    return degrees < 0 ? degrees + 360 : degrees;
}

// The picture's length: the sound may run on past it, and what is exported is the video.
double durationOf(const AVFormatContext& input, const AVStream& video)
{
    if (video.duration > 0)
        return Ffmpeg::seconds(video.duration, video.time_base);
    if (input.duration > 0)
        return double(input.duration) / AV_TIME_BASE;
    return 0;
}

} // namespace

std::optional<ExportSource> ExportSource::open(const QString& path, Problem* problem, QString* error)
{
    ExportSource source;
    source.m_input = Ffmpeg::openInput(path, error);
    if (!source.m_input) {
        *problem = Problem::unreadable;
        *error = path + QStringLiteral(": ") + *error;
        return std::nullopt;
    }
    source.m_video = av_find_best_stream(source.m_input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    // Cover art is a video stream of one picture, not a video.
    if (source.m_video >= 0 && (source.video().disposition & AV_DISPOSITION_ATTACHED_PIC))
        source.m_video = -1;
    if (source.m_video < 0) {
        *problem = Problem::noVideo;
        *error = QStringLiteral("No video track found");
        return std::nullopt;
    }
    source.m_audio = av_find_best_stream(source.m_input.get(), AVMEDIA_TYPE_AUDIO, -1, source.m_video, nullptr, 0);
    source.m_duration = durationOf(*source.m_input, source.video());
    source.m_rotation = rotationOf(source.video());
    if (source.m_input->start_time != AV_NOPTS_VALUE)
        source.m_startOffset = double(source.m_input->start_time) / AV_TIME_BASE;
    return source;
}

QSize ExportSource::displaySize() const
{
    const AVCodecParameters& parameters = *video().codecpar;
    AVRational aspect = av_guess_sample_aspect_ratio(m_input.get(), &video(), nullptr);
    if (aspect.num <= 0 || aspect.den <= 0)
        aspect = AVRational{1, 1};
    const int width = int(std::lround(parameters.width * av_q2d(aspect)));
    const QSize size(width, parameters.height);
    return m_rotation == 90 || m_rotation == 270 ? size.transposed() : size;
}

bool ExportSource::seek(double seconds) const
{
    const AVStream& stream = video();
    const int64_t target = Ffmpeg::timestamp(seconds + m_startOffset, stream.time_base);
    if (av_seek_frame(m_input.get(), m_video, target, AVSEEK_FLAG_BACKWARD) >= 0)
        return true;
    // Some containers only seek by byte or from the start.
    return avformat_seek_file(m_input.get(), -1, INT64_MIN, 0, 0, 0) >= 0;
}

double ExportSource::timeOf(int64_t timestamp, const AVStream& stream) const
{
    return Ffmpeg::seconds(timestamp, stream.time_base) - m_startOffset;
}

double ExportSource::cutShortTolerance() const
{
    const AVRational rate = video().avg_frame_rate;
    const double interval = rate.num > 0 && rate.den > 0 ? av_q2d(av_inv_q(rate)) : 0.04;
    return std::max(0.5, 2 * interval);
}

double ExportSource::stopOf(double end) const
{
    return end >= m_duration - 1e-3 ? std::numeric_limits<double>::infinity() : end;
}
