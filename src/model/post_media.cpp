#include "model/post_media.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

QString uniqueFileName(const QString& suffix)
{
    const QString base = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return suffix.isEmpty() ? base : base + u'.' + suffix;
}

} // namespace

std::optional<PostMedia> PostMedia::fromImage(const QByteArray& png, const QString& mediaDir)
{
    if (png.isEmpty() || !QDir().mkpath(mediaDir))
        return std::nullopt;
    QSaveFile file(QDir(mediaDir).filePath(uniqueFileName(QStringLiteral("png"))));
    if (!file.open(QIODevice::WriteOnly) || file.write(png) != png.size() || !file.commit())
        return std::nullopt;
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = MediaType::image;
    media.originalPath = FileUrl::fromLocalFile(file.fileName());
    return media;
}

PostMedia PostMedia::fromVideo(const QString& sourceFile, const QString& mediaDir, std::optional<double> duration)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = MediaType::video;
    media.videoDuration = duration;
    media.originalPath = FileUrl::fromLocalFile(QFileInfo(sourceFile).absoluteFilePath());
    return media.copiedInto(mediaDir);
}

PostMedia PostMedia::copiedInto(const QString& mediaDir) const
{
    const QString source = localFile();
    const QString copy = QDir(mediaDir).filePath(uniqueFileName(QFileInfo(source).suffix()));
    PostMedia moved = *this;
    if (QDir().mkpath(mediaDir) && QFile::copy(source, copy))
        moved.originalPath = FileUrl::fromLocalFile(copy);
    return moved;
}

void PostMedia::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.uuid(id);
    writer.key("type");
    writeMediaType(writer, type);
    writer.key("originalPath");
    writer.fileUrl(originalPath);
    if (videoDuration) {
        writer.key("videoDuration");
        writer.number(*videoDuration);
    }
    if (altText) {
        writer.key("altText");
        writer.string(*altText);
    }
    writer.key("redactions");
    writer.beginArray();
    for (const RedactionRect& rect : redactions)
        rect.write(writer);
    writer.endArray();
    if (subtitles) {
        writer.key("subtitles");
        subtitles->write(writer);
    }
    writer.key("areSubtitlesRendered");
    writer.boolean(areSubtitlesRendered);
    if (renderedExportPreset) {
        writer.key("renderedExportPreset");
        writer.string(*renderedExportPreset);
    }
    writer.key("isMissing");
    writer.boolean(isMissing);
    if (trimClips) {
        writer.key("trimClips");
        writer.beginArray();
        for (const ClipSegment& clip : *trimClips)
            clip.write(writer);
        writer.endArray();
    }
    writer.endObject();
}

PostMedia PostMedia::decode(const JsonReader& reader)
{
    reader.expectObject();
    PostMedia media;
    media.id = reader["id"].uuid();
    media.type = decodeMediaType(reader["type"]);
    media.originalPath = reader["originalPath"].fileUrl();
    if (const auto duration = reader.optional("videoDuration"))
        media.videoDuration = duration->number();
    if (const auto alt = reader.optional("altText"))
        media.altText = alt->string();
    media.redactions = reader["redactions"].list(&RedactionRect::decode);
    if (const auto track = reader.optional("subtitles"))
        media.subtitles = SubtitleTrack::decode(*track);
    // Attachments stored before these two flags existed read as false.
    if (const auto rendered = reader.optional("areSubtitlesRendered"))
        media.areSubtitlesRendered = rendered->boolean();
    if (const auto preset = reader.optional("renderedExportPreset"))
        media.renderedExportPreset = preset->string();
    if (const auto missing = reader.optional("isMissing"))
        media.isMissing = missing->boolean();
    if (const auto clips = reader.optional("trimClips"))
        media.trimClips = clips->list(&ClipSegment::decode);
    return media;
}
