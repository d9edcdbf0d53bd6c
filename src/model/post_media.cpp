#include "model/post_media.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>

namespace {

QString uniqueFileName(const QString& suffix)
{
    const QString base = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return suffix.isEmpty() ? base : base + u'.' + suffix;
}

} // namespace

std::optional<PostMedia> PostMedia::fromImage(const QImage& image, const QString& mediaDir)
{
    if (image.isNull() || !QDir().mkpath(mediaDir))
        return std::nullopt;
    const QString file = QDir(mediaDir).filePath(uniqueFileName(QStringLiteral("png")));
    if (!image.save(file, "PNG")) {
        QFile::remove(file);
        return std::nullopt;
    }
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = MediaType::image;
    media.originalPath = QUrl::fromLocalFile(file);
    return media;
}

PostMedia PostMedia::fromVideo(const QString& sourceFile, const QString& mediaDir, std::optional<double> duration)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = MediaType::video;
    media.videoDuration = duration;
    media.originalPath = QUrl::fromLocalFile(QFileInfo(sourceFile).absoluteFilePath());

    const QString suffix = QFileInfo(sourceFile).suffix();
    const QString copy = QDir(mediaDir).filePath(uniqueFileName(suffix));
    if (QDir().mkpath(mediaDir) && QFile::copy(sourceFile, copy))
        media.originalPath = QUrl::fromLocalFile(copy);
    return media;
}

Json PostMedia::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    json["id"] = JsonValues::uuidText(id);
    json["type"] = mediaTypeToJson(type);
    json["originalPath"] = JsonValues::fileUrl(originalPath);
    if (videoDuration)
        json["videoDuration"] = JsonValues::number(*videoDuration);
    if (altText)
        json["altText"] = JsonValues::utf8(*altText);
    Json rects = Json::array();
    for (const RedactionRect& rect : redactions)
        rects.push_back(rect.toJson());
    json["redactions"] = std::move(rects);
    if (subtitles)
        json["subtitles"] = subtitles->toJson(dates);
    json["areSubtitlesRendered"] = areSubtitlesRendered;
    if (renderedExportPreset)
        json["renderedExportPreset"] = JsonValues::utf8(*renderedExportPreset);
    json["isMissing"] = isMissing;
    if (trimClips) {
        Json clips = Json::array();
        for (const ClipSegment& clip : *trimClips)
            clips.push_back(clip.toJson());
        json["trimClips"] = std::move(clips);
    }
    return json;
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
