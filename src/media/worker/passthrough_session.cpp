#include "media/worker/passthrough_session.h"

#include <deque>

namespace {

bool copyStream(const AVStream& from, AVStream& to)
{
    if (avcodec_parameters_copy(to.codecpar, from.codecpar) < 0)
        return false;
    // Let the muxer pick the tag its container uses for the codec.
    to.codecpar->codec_tag = 0;
    to.time_base = from.time_base;
    size_t size = 0;
    if (const uint8_t* matrix = av_stream_get_side_data(&from, AV_PKT_DATA_DISPLAYMATRIX, &size)) {
        uint8_t* copy = av_stream_new_side_data(&to, AV_PKT_DATA_DISPLAYMATRIX, size);
        if (!copy)
            return false;
        memcpy(copy, matrix, size);
    }
    return true;
}

double packetTime(const ExportSource& source, const AVPacket& packet, const AVStream& stream, bool decodeOrder)
{
    const int64_t timestamp = decodeOrder && packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    return timestamp == AV_NOPTS_VALUE ? 0 : source.timeOf(timestamp, stream);
}

} // namespace

PassthroughSession::PassthroughSession(const ExportSource& source, const Composition& composition, ExportOutput& output)
    : m_source(source)
    , m_composition(composition)
    , m_output(output)
{
}

bool PassthroughSession::addStreams(QString* error)
{
    const auto add = [&](const AVStream* from, Track& track) {
        if (!from)
            return true;
        track.input = from->index;
        track.output = avformat_new_stream(m_output.context(), nullptr);
        return track.output && copyStream(*from, *track.output);
    };
    if (!add(&m_source.video(), m_video) || !add(m_source.audio(), m_audio)) {
        *error = QStringLiteral("cannot copy the streams");
        return false;
    }
    return true;
}

SessionOutcome PassthroughSession::run(const SessionHooks& hooks)
{
    QString error;
    if (!addStreams(&error))
        return SessionOutcome::unavailable(error);
    if (!m_output.open(&error))
        return SessionOutcome::failed(error);
    // A container that cannot hold the source's codecs cannot take a copy of them.
    if (!m_output.writeHeader(&error))
        return SessionOutcome::unavailable(QStringLiteral("the container refuses the source's streams: ") + error);
    hooks.configured();
    for (const TimeRange& range : m_composition.ranges()) {
        const SessionOutcome outcome = copyRange(range, hooks);
        if (outcome.status != SessionOutcome::Status::completed)
            return outcome;
    }
    if (!m_output.finish(&error))
        return SessionOutcome::failed(error);
    return SessionOutcome::completed();
}

SessionOutcome PassthroughSession::copyRange(const TimeRange& range, const SessionHooks& hooks)
{
    if (!m_source.seek(range.start))
        return SessionOutcome::failed(QStringLiteral("cannot seek to %1 s").arg(range.start));
    const AVStream& video = m_source.video();
    const AVStream* audio = m_source.audio();
    Ffmpeg::Packet packet(av_packet_alloc());
    // Audio read before the range's first key frame waits until that frame says where the range begins.
    std::deque<Ffmpeg::Packet> early;
    std::optional<double> begin;
    const double stop = m_source.stopOf(range.end);
    bool videoDone = false;
    bool audioDone = audio == nullptr;
    double lastTime = range.start;
    QString error;
    while (!(videoDone && audioDone) && av_read_frame(&m_source.input(), packet.get()) >= 0) {
        if (hooks.cancelled())
            return SessionOutcome::cancelled();
        if (packet->stream_index == m_video.input && !videoDone) {
            const double time = packetTime(m_source, *packet, video, true);
            if (!begin && !(packet->flags & AV_PKT_FLAG_KEY)) {
                av_packet_unref(packet.get());
                continue;
            }
            if (!begin)
                begin = packetTime(m_source, *packet, video, false);
            lastTime = packetTime(m_source, *packet, video, false);
            if (time >= stop) {
                videoDone = true;
            } else {
                if (!writeShifted(*packet, m_video, m_cursor - *begin, &error))
                    return SessionOutcome::failed(error);
                hooks.progress((m_cursor + time - *begin) / std::max(m_composition.duration(), 0.001));
            }
            for (; begin && !early.empty(); early.pop_front()) {
                const double audioTime = packetTime(m_source, *early.front(), *audio, false);
                if (audioTime >= *begin && audioTime < stop && !writeShifted(*early.front(), m_audio, m_cursor - *begin, &error))
                    return SessionOutcome::failed(error);
            }
        } else if (audio && packet->stream_index == m_audio.input && !audioDone) {
            const double time = packetTime(m_source, *packet, *audio, false);
            if (time >= stop) {
                audioDone = true;
            } else if (!begin) {
                early.emplace_back(av_packet_clone(packet.get()));
            } else if (time >= *begin && !writeShifted(*packet, m_audio, m_cursor - *begin, &error)) {
                return SessionOutcome::failed(error);
            }
        }
        av_packet_unref(packet.get());
    }
    if (!videoDone && lastTime < range.end - m_source.cutShortTolerance())
        return SessionOutcome::failed(cutShort(lastTime));
    m_cursor += range.end - begin.value_or(range.start);
    return SessionOutcome::completed();
}

bool PassthroughSession::writeShifted(AVPacket& packet, Track& track, double shift, QString* error)
{
    const AVStream& input = *m_source.input().streams[track.input];
    const int64_t offset = Ffmpeg::timestamp(shift + m_source.timeOf(0, input), input.time_base);
    if (packet.pts != AV_NOPTS_VALUE)
        packet.pts += offset;
    if (packet.dts != AV_NOPTS_VALUE)
        packet.dts += offset;
    // Where ranges meet, a copied frame may overhang the next range's first one; the
    // muxer needs decode times that only ever grow.
    if (packet.dts != AV_NOPTS_VALUE && track.lastDts != AV_NOPTS_VALUE && packet.dts <= track.lastDts) {
        packet.dts = track.lastDts + 1;
        if (packet.pts != AV_NOPTS_VALUE && packet.pts < packet.dts)
            packet.pts = packet.dts;
    }
    if (packet.dts != AV_NOPTS_VALUE)
        track.lastDts = packet.dts;
    packet.stream_index = track.output->index;
    av_packet_rescale_ts(&packet, input.time_base, track.output->time_base);
    packet.pos = -1;
    return m_output.write(packet, error);
}
