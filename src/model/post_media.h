#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/clip_segment.h"
#include "model/media_type.h"
#include "model/redaction_rect.h"
#include "model/subtitle_track.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

// One attachment of a post. Edits (trim, subtitles, redactions, preset) live here as
// fields; the file at originalPath itself is never modified.
struct PostMedia {
    QUuid id;
    MediaType type = MediaType::image;
    // A file URL, normally into the media folder (AppPaths::mediaDir()).
    FileUrl originalPath;
    // Seconds; videos only.
    std::optional<double> videoDuration;
    std::optional<QString> altText;
    QList<RedactionRect> redactions;
    std::optional<SubtitleTrack> subtitles;
    // Burn the subtitles into the exported video.
    bool areSubtitlesRendered = false;
    // Raw value of a VideoExportPreset; none means the "PublishingExportPreset" preference.
    std::optional<QString> renderedExportPreset;
    // The file was found gone; such media blocks publishing.
    bool isMissing = false;
    // The parts of the video to keep, in order; none or empty means the whole video.
    std::optional<QList<ClipSegment>> trimClips;

    bool operator==(const PostMedia&) const = default;

    bool isImage() const { return type == MediaType::image; }
    bool isVideo() const { return type == MediaType::video; }
    QString localFile() const { return originalPath.toLocalFile(); }

    // Writes an encoded PNG image under a new unique name into mediaDir (created when
    // missing) and returns an image attachment for it; nothing when it cannot be written.
    static std::optional<PostMedia> fromImage(const QByteArray& png, const QString& mediaDir);
    // Copies a video file into mediaDir under a new unique name; when the copy fails
    // the attachment points at the original file instead, so it still works.
    static PostMedia fromVideo(const QString& sourceFile, const QString& mediaDir,
                               std::optional<double> duration = std::nullopt);
    // The same attachment, its edits included, over a copy of its file in mediaDir; left
    // pointing at the file where it is when the copy fails.
    PostMedia copiedInto(const QString& mediaDir) const;

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::referenceSeconds) const { return toJsonValue(*this, dates); }
    static PostMedia decode(const JsonReader& reader);
};
