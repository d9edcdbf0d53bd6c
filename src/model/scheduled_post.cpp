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

Json encodeAccountIds(const QMap<PlatformType, QList<QUuid>>& accountIds)
{
    Json flat = Json::array();
    for (auto it = accountIds.constBegin(); it != accountIds.constEnd(); ++it) {
        flat.push_back(JsonValues::utf8(rawValue(it.key())));
        Json ids = Json::array();
        for (const QUuid& id : it.value())
            ids.push_back(JsonValues::uuidText(id));
        flat.push_back(std::move(ids));
    }
    return flat;
}

Json encodeShare(const QMap<QUuid, bool>& share)
{
    Json flat = Json::array();
    for (auto it = share.constBegin(); it != share.constEnd(); ++it) {
        flat.push_back(JsonValues::uuidText(it.key()));
        flat.push_back(it.value());
    }
    return flat;
}

Json encodeModes(const QMap<PlatformType, ScheduledPostingMode>& modes)
{
    Json flat = Json::array();
    for (auto it = modes.constBegin(); it != modes.constEnd(); ++it) {
        flat.push_back(JsonValues::utf8(rawValue(it.key())));
        flat.push_back(JsonValues::utf8(rawValue(it.value())));
    }
    return flat;
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
    if (reader->json().is_boolean()) {
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

Json ScheduledPost::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    json["id"] = JsonValues::uuidText(id);
    json["content"] = Post::threadToJson(content, dates);
    json["scheduledDate"] = JsonValues::date(scheduledDate, dates);
    json["timeZoneIdentifier"] = JsonValues::utf8(timeZoneIdentifier);
    Json names = Json::array();
    for (const QString& name : platforms)
        names.push_back(JsonValues::utf8(name));
    json["platforms"] = std::move(names);
    json["status"] = JsonValues::utf8(rawValue(status));
    if (error)
        json["error"] = JsonValues::utf8(*error);
    json["accountIds"] = encodeAccountIds(accountIds);
    json["postingMode"] = JsonValues::utf8(rawValue(postingMode));
    json["xShareWithFollowers"] = encodeShare(xShareWithFollowers);
    json["platformModes"] = encodeModes(platformModes);
    return json;
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
    return decode(JsonReader(json, dates));
}

QByteArray ScheduledPost::encodeList(const QList<ScheduledPost>& posts, JsonLayout layout, DateEncoding dates)
{
    Json array = Json::array();
    for (const ScheduledPost& post : posts)
        array.push_back(post.toJson(dates));
    return JsonValues::dump(array, layout);
}

QList<ScheduledPost> ScheduledPost::decodeList(const QByteArray& document, DateEncoding dates)
{
    const Json json = JsonValues::parse(document);
    return JsonReader(json, dates).list(&ScheduledPost::decode);
}
