#include "model/post.h"

Post Post::create(const QString& text, const QList<PostMedia>& media)
{
    Post post;
    post.id = QUuid::createUuid();
    post.text = text;
    post.mediaItems = media;
    return post;
}

void Post::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.uuid(id);
    writer.key("text");
    writer.string(text);
    writer.key("mediaItems");
    writer.beginArray();
    for (const PostMedia& item : mediaItems)
        item.write(writer);
    writer.endArray();
    if (quoteContext) {
        writer.key("quoteContext");
        quoteContext->write(writer);
    }
    if (communityContext) {
        writer.key("communityContext");
        communityContext->write(writer);
    }
    if (scheduledPostId) {
        writer.key("scheduledPostId");
        writer.uuid(*scheduledPostId);
    }
    writer.endObject();
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
    return JsonReader::read(json, dates, &Post::decode);
}

void Post::writeThread(JsonWriter& writer, const QList<Post>& thread)
{
    writer.beginArray();
    for (const Post& post : thread)
        post.write(writer);
    writer.endArray();
}

Json Post::threadToJson(const QList<Post>& thread, DateEncoding dates)
{
    JsonWriter writer(JsonLayout::compact, dates);
    writeThread(writer, thread);
    const std::string_view text = writer.text();
    return Json::parse(text.begin(), text.end());
}

QList<Post> Post::decodeThread(const JsonReader& reader)
{
    return reader.list(&Post::decode);
}
