#include "model/scheduled_post.h"

#include <QTimeZone>

namespace {

PlatformType decodePlatformKey(const JsonReader& reader)
{
    const QString raw = reader.string();
    const auto platform = platformTypeFromRawValue(raw);
    if (!platform)
        reader.fail(CodingError::Kind::invalidValue, QStringLiteral("unknown platform \"") + raw + u'"');
    return *platform;
}

ScheduledPostingMode decodeMode(const JsonReader& reader)
{
    const QString raw = reader.string();
    const auto mode = scheduledPostingModeFromRawValue(raw);
    if (!mode)
        reader.fail(CodingError::Kind::invalidValue, QStringLiteral("unknown posting mode \"") + raw + u'"');
    return *mode;
}

PostStatus decodeStatus(const JsonReader& reader)
{
    const QString raw = reader.string();
    const auto status = postStatusFromRawValue(raw);
    if (!status)
        reader.fail(CodingError::Kind::invalidValue, QStringLiteral("unknown status \"") + raw + u'"');
    return *status;
}

void writeAccountIds(JsonWriter& writer, const QMap<PlatformType, QList<QUuid>>& accountIds)
{
    writer.beginArray();
    for (auto it = accountIds.constBegin(); it != accountIds.constEnd(); ++it) {
        writer.string(rawValue(it.key()));
        writer.beginArray();
        for (const QUuid& id : it.value())
            writer.uuid(id);
        writer.endArray();
    }
    writer.endArray();
}

void writeShare(JsonWriter& writer, const QMap<QUuid, bool>& share)
{
    writer.beginArray();
    for (auto it = share.constBegin(); it != share.constEnd(); ++it) {
        writer.uuid(it.key());
        writer.boolean(it.value());
    }
    writer.endArray();
}

void writeModes(JsonWriter& writer, const QMap<PlatformType, ScheduledPostingMode>& modes)
{
    writer.beginArray();
    for (auto it = modes.constBegin(); it != modes.constEnd(); ++it) {
        writer.string(rawValue(it.key()));
        writer.string(rawValue(it.value()));
    }
    writer.endArray();
}

QMap<PlatformType, QList<QUuid>> decodeAccountIds(const JsonReader& reader)
{
    QMap<PlatformType, QList<QUuid>> accountIds;
    reader.forEachPair([&](const JsonReader& key, const JsonReader& value) {
        accountIds.insert(decodePlatformKey(key), value.list([](const JsonReader& id) { return id.uuid(); }));
    });
    return accountIds;
}

QMap<PlatformType, ScheduledPostingMode> decodeModes(const JsonReader& reader)
{
    QMap<PlatformType, ScheduledPostingMode> modes;
    reader.forEachPair([&](const JsonReader& key, const JsonReader& value) {
        modes.insert(decodePlatformKey(key), decodeMode(value));
    });
    return modes;
}

// The current form is a flat dictionary; entries written before per-account sharing
// hold one Boolean for every X account of the post.
QMap<QUuid, bool> decodeShare(const std::optional<JsonReader>& reader,
                              const QMap<PlatformType, QList<QUuid>>& accountIds)
{
    QMap<QUuid, bool> share;
    if (!reader)
        return share;
    if (reader->isBoolean()) {
        if (reader->boolean()) {
            for (const QUuid& id : accountIds.value(PlatformType::x))
                share.insert(id, true);
        }
        return share;
    }
    reader->forEachPair([&](const JsonReader& key, const JsonReader& value) {
        share.insert(key.uuid(), value.boolean());
    });
    return share;
}

} // namespace

ScheduledPostingMode ScheduledPost::modeFor(PlatformType platform) const
{
    return platformModes.value(platform, postingMode);
}

QList<PlatformType> ScheduledPost::platformTypes() const
{
    QList<PlatformType> types;
    for (const QString& name : platforms) {
        if (const auto platform = platformTypeFromName(name))
            types.append(*platform);
    }
    return types;
}

void ScheduledPost::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.uuid(id);
    writer.key("content");
    Post::writeThread(writer, content);
    writer.key("scheduledDate");
    writer.date(scheduledDate);
    writer.key("timeZoneIdentifier");
    writer.string(timeZoneIdentifier);
    writer.key("platforms");
    writer.beginArray();
    for (const QString& name : platforms)
        writer.string(name);
    writer.endArray();
    writer.key("status");
    writer.string(rawValue(status));
    if (error) {
        writer.key("error");
        writer.string(*error);
    }
    writer.key("accountIds");
    writeAccountIds(writer, accountIds);
    writer.key("postingMode");
    writer.string(rawValue(postingMode));
    writer.key("xShareWithFollowers");
    writeShare(writer, xShareWithFollowers);
    writer.key("platformModes");
    writeModes(writer, platformModes);
    writer.endObject();
}

ScheduledPost ScheduledPost::decode(const JsonReader& reader)
{
    reader.expectObject();
    ScheduledPost post;
    post.id = reader["id"].uuid();
    post.content = Post::decodeThread(reader["content"]);
    post.scheduledDate = reader["scheduledDate"].date();
    if (const auto zone = reader.optional("timeZoneIdentifier"))
        post.timeZoneIdentifier = zone->string();
    else
        post.timeZoneIdentifier = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    post.platforms = reader["platforms"].stringList();
    post.status = decodeStatus(reader["status"]);
    if (const auto error = reader.optional("error"))
        post.error = error->string();
    if (const auto ids = reader.optional("accountIds"))
        post.accountIds = decodeAccountIds(*ids);
    if (const auto mode = reader.optional("postingMode"))
        post.postingMode = decodeMode(*mode);
    post.xShareWithFollowers = decodeShare(reader.optional("xShareWithFollowers"), post.accountIds);
    if (const auto modes = reader.optional("platformModes"))
        post.platformModes = decodeModes(*modes);
    return post;
}

ScheduledPost ScheduledPost::fromJson(const Json& json, DateEncoding dates)
{
    return JsonReader::read(json, dates, &ScheduledPost::decode);
}

QByteArray ScheduledPost::encodeList(const QList<ScheduledPost>& posts, JsonLayout layout, DateEncoding dates)
{
    JsonWriter writer(layout, dates);
    writer.beginArray();
    for (const ScheduledPost& post : posts)
        post.write(writer);
    writer.endArray();
    if (layout == JsonLayout::prettySortedKeys)
        return JsonValues::dump(JsonValues::parse(writer.toByteArray()), layout);
    return writer.toByteArray();
}

bool ScheduledPost::writeList(const QList<ScheduledPost>& posts, QIODevice& device, JsonLayout layout,
                              DateEncoding dates)
{
    JsonWriter writer(device, layout, dates);
    writer.beginArray();
    for (const ScheduledPost& post : posts)
        post.write(writer);
    writer.endArray();
    return writer.finish();
}

QList<ScheduledPost> ScheduledPost::decodeList(const QByteArray& document, DateEncoding dates)
{
    return JsonReader::readList(document, dates, &ScheduledPost::decode);
}
