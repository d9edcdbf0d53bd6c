#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/community_context.h"
#include "model/post_media.h"
#include "model/quote_context.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// One post of a thread. A thread is a QList<Post>: the head first, each later post a
// reply to the one before it.
struct Post {
    // Null until assigned; Post::create gives a new one. (Decoding does not pay for
    // random ids it would overwrite at once.)
    QUuid id;
    // May be empty when media is attached.
    QString text;
    // At most four, in display order.
    QList<PostMedia> mediaItems;
    // The composer's focus flag; never stored, false after decoding.
    bool isFocused = false;
    std::optional<QuoteContext> quoteContext;
    std::optional<CommunityContext> communityContext;
    // The ScheduledPost this post belongs to while it is edited from the calendar.
    std::optional<QUuid> scheduledPostId;

    bool operator==(const Post&) const = default;

    // A new post with a fresh id.
    static Post create(const QString& text = {}, const QList<PostMedia>& media = {});

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::referenceSeconds) const { return toJsonValue(*this, dates); }
    static Post decode(const JsonReader& reader);
    static Post fromJson(const Json& json, DateEncoding dates = DateEncoding::referenceSeconds);

    // A whole thread as a JSON array of posts.
    static void writeThread(JsonWriter& writer, const QList<Post>& thread);
    static Json threadToJson(const QList<Post>& thread, DateEncoding dates = DateEncoding::referenceSeconds);
    static QList<Post> decodeThread(const JsonReader& reader);
};
