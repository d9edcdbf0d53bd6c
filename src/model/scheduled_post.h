#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/platform_type.h"
#include "model/post.h"
#include "model/post_status.h"
#include "model/scheduled_posting_mode.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

// A thread with a publication date, its destinations and its status.
//
// The three dictionaries have keys that are not strings, so their stored form is a
// flat array of alternating keys and values ([k1, v1, k2, v2]); an object is not
// accepted when reading. They are written in key order.
struct ScheduledPost {
    QUuid id;
    // The thread, head first.
    QList<Post> content;
    // The instant of publication.
    Timestamp scheduledDate;
    // IANA zone in which the user picked the date; for display only.
    QString timeZoneIdentifier;
    // Names of the target platforms. Quillo writes PlatformType raw values; read them
    // with platformTypes(), which accepts other spellings as well.
    QStringList platforms;
    PostStatus status = PostStatus::queued;
    // The failure text of the last publishing attempt.
    std::optional<QString> error;
    // The accounts chosen per platform (used in `specific` mode, and first in `defaults`).
    QMap<PlatformType, QList<QUuid>> accountIds;
    ScheduledPostingMode postingMode = ScheduledPostingMode::defaults;
    // For a post to an X community: X account id to whether it also shares the post
    // with its followers.
    QMap<QUuid, bool> xShareWithFollowers;
    // Per-platform override of postingMode.
    QMap<PlatformType, ScheduledPostingMode> platformModes;

    bool operator==(const ScheduledPost&) const = default;

    // The mode that applies on a platform: its override, else postingMode.
    ScheduledPostingMode modeFor(PlatformType platform) const;
    // platforms as PlatformType values, in order, skipping names no platform has.
    QList<PlatformType> platformTypes() const;

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::referenceSeconds) const { return toJsonValue(*this, dates); }
    // Reads current and older entries (missing optional keys get their defaults, a
    // Boolean "xShareWithFollowers" is the older form); throws CodingError.
    static ScheduledPost decode(const JsonReader& reader);
    static ScheduledPost fromJson(const Json& json, DateEncoding dates = DateEncoding::referenceSeconds);

    // A whole list as one JSON array: the stored document and the export file.
    static QByteArray encodeList(const QList<ScheduledPost>& posts, JsonLayout layout,
                                 DateEncoding dates = DateEncoding::referenceSeconds);
    // The same streamed to a device (the stored document is never held whole in memory);
    // false when writing failed, CodingError when an entry cannot be encoded.
    static bool writeList(const QList<ScheduledPost>& posts, QIODevice& device, JsonLayout layout,
                          DateEncoding dates = DateEncoding::referenceSeconds);
    // Throws CodingError; nothing is returned unless every entry decodes.
    static QList<ScheduledPost> decodeList(const QByteArray& document,
                                           DateEncoding dates = DateEncoding::referenceSeconds);
};
