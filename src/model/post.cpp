#include "model/post.h"

Post Post::create(const QString& text, const QList<PostMedia>& media)
{
    Post post;
    post.id = QUuid::createUuid();
    post.text = text;
    post.mediaItems = media;
    return post;
}

Json Post::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    json["id"] = JsonValues::uuidText(id);
    json["text"] = JsonValues::utf8(text);
    Json media = Json::array();
    for (const PostMedia& item : mediaItems)
        media.push_back(item.toJson(dates));
    json["mediaItems"] = std::move(media);
    if (quoteContext)
        json["quoteContext"] = quoteContext->toJson();
    if (communityContext)
        json["communityContext"] = communityContext->toJson();
    if (scheduledPostId)
        json["scheduledPostId"] = JsonValues::uuidText(*scheduledPostId);
    return json;
}

Post Post::decode(const JsonReader& reader)
{
    reader.expectObject();
    Post post;
    post.id = reader["id"].uuid();
    post.text = reader["text"].string();
    post.mediaItems = reader["mediaItems"].list(&PostMedia::decode);
    if (const auto quote = reader.optional("quoteContext"))
        post.quoteContext = QuoteContext::decode(*quote);
    if (const auto community = reader.optional("communityContext"))
        post.communityContext = CommunityContext::decode(*community);
    if (const auto owner = reader.optional("scheduledPostId"))
        post.scheduledPostId = owner->uuid();
    return post;
}

Post Post::fromJson(const Json& json, DateEncoding dates)
{
    return decode(JsonReader(json, dates));
}

Json Post::threadToJson(const QList<Post>& thread, DateEncoding dates)
{
    Json array = Json::array();
    for (const Post& post : thread)
        array.push_back(post.toJson(dates));
    return array;
}

QList<Post> Post::decodeThread(const JsonReader& reader)
{
    return reader.list(&Post::decode);
}
