#include "media/worker/export_output.h"

#include "media/video_export_request.h"

#include <QFile>
#include <QFileInfo>

namespace {

const char* muxerFor(const QString& path)
{
    const QString extension = QFileInfo(path).suffix().toLower();
    if (extension == QStringLiteral("mov"))
        return "mov";
    if (extension == QStringLiteral("m4v"))
        return "ipod";
    return "mp4";
}

} // namespace

ExportOutput::ExportOutput(QString path)
    : m_path(std::move(path))
    , m_partial(VideoExportRequest::partialPath(m_path))
{
}

ExportOutput::~ExportOutput()
{
    if (!m_finished)
        discard();
    avformat_free_context(m_context);
}

QString ExportOutput::fileTypeFor(const QString& path)
{
    const QByteArray muxer = muxerFor(path);
    if (muxer == "mov")
        return QStringLiteral("com.apple.quicktime-movie");
    if (muxer == "ipod")
        return QStringLiteral("com.apple.m4v-video");
    return QStringLiteral("public.mpeg-4");
}

bool ExportOutput::create(QString* error)
{
    const QByteArray name = m_partial.toUtf8();
    if (const int code = avformat_alloc_output_context2(&m_context, nullptr, muxerFor(m_path), name.constData()); code < 0) {
        *error = Ffmpeg::errorText(code);
        return false;
    }
    return true;
}

bool ExportOutput::needsGlobalHeaders() const
{
    return m_context->oformat->flags & AVFMT_GLOBALHEADER;
}

bool ExportOutput::open(QString* error)
{
    const QByteArray name = m_partial.toUtf8();
    if (const int code = avio_open(&m_context->pb, name.constData(), AVIO_FLAG_WRITE); code < 0) {
        *error = m_partial + QStringLiteral(": ") + Ffmpeg::errorText(code);
        return false;
    }
    m_opened = true;
    return true;
}

bool ExportOutput::writeHeader(QString* error)
{
    AVDictionary* options = nullptr;
    // The index at the front lets the networks start processing before the upload ends.
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int code = avformat_write_header(m_context, &options);
    av_dict_free(&options);
    if (code < 0) {
        *error = Ffmpeg::errorText(code);
        return false;
    }
    return true;
}

bool ExportOutput::write(AVPacket& packet, QString* error)
{
    if (const int code = av_interleaved_write_frame(m_context, &packet); code < 0) {
        *error = QStringLiteral("writing ") + m_path + QStringLiteral(" failed: ") + Ffmpeg::errorText(code);
        return false;
    }
    return true;
}

bool ExportOutput::encode(AVCodecContext& encoder, AVFrame* frame, const AVStream& stream, const char* what,
                          QString* error)
{
    if (const int code = avcodec_send_frame(&encoder, frame); code < 0 && code != AVERROR_EOF) {
        *error = QStringLiteral("encoding the %1 failed: %2").arg(QLatin1String(what), Ffmpeg::errorText(code));
        return false;
    }
    Ffmpeg::Packet packet(av_packet_alloc());
    while (avcodec_receive_packet(&encoder, packet.get()) == 0) {
        packet->stream_index = stream.index;
        av_packet_rescale_ts(packet.get(), encoder.time_base, stream.time_base);
        if (!write(*packet, error))
            return false;
    }
    return true;
}

bool ExportOutput::finish(QString* error)
{
    if (const int code = av_write_trailer(m_context); code < 0) {
        *error = QStringLiteral("finishing ") + m_path + QStringLiteral(" failed: ") + Ffmpeg::errorText(code);
        return false;
    }
    const int closed = avio_closep(&m_context->pb);
    m_opened = false;
    if (closed < 0) {
        *error = QStringLiteral("closing ") + m_path + QStringLiteral(" failed: ") + Ffmpeg::errorText(closed);
        return false;
    }
    QFile::remove(m_path);
    if (!QFile::rename(m_partial, m_path)) {
        *error = QStringLiteral("cannot move the export to ") + m_path;
        return false;
    }
    m_finished = true;
    return true;
}

void ExportOutput::discard()
{
    if (m_opened && m_context)
        avio_closep(&m_context->pb);
    m_opened = false;
    QFile::remove(m_partial);
}
