#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/platform_type.h"

#include <QMap>
#include <QString>

#include <optional>

// The post that a post quotes, as known on each platform.
struct QuoteContext {
    // The quoted post's text as shown to the user.
    QString text;
    // Platform raw value ("x", "bluesky", "mastodon") to the quoted post's identifier
    // on that platform (a tweet id, an at:// URI, a status id).
    QMap<QString, QString> platformIds;

    bool operator==(const QuoteContext&) const = default;

    // The quoted post's identifier on a platform, if it is known there.
    std::optional<QString> idOn(PlatformType platform) const;
    void setIdOn(PlatformType platform, const QString& id) { platformIds.insert(rawValue(platform), id); }

    // A pasted link to a post (x.com/twitter.com, bsky.app, a Mastodon instance) or any
    // other text naming it; the id is filled in where the address tells it. Nothing for blank text.
    static std::optional<QuoteContext> fromLink(const QString& link);

    void write(JsonWriter& writer) const;
    Json toJson() const { return toJsonValue(*this); }
    static QuoteContext decode(const JsonReader& reader);
};
