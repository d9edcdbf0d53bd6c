#include "model/social_account.h"

SocialAccount SocialAccount::create(PlatformType platform, const QString& name,
                                    const QMap<QString, QString>& credentials, Timestamp createdAt)
{
    SocialAccount account;
    account.id = QUuid::createUuid();
    account.platform = platform;
    account.name = name;
    account.credentials = credentials;
    account.createdAt = createdAt;
    return account;
}

QString SocialAccount::displayName() const
{
    return nickname && !nickname->isEmpty() ? *nickname : name;
}

QString SocialAccount::mastodonInstance() const
{
    const QString stored = credential(CredentialKeys::instance).trimmed();
    return stored.isEmpty() ? QString(kDefaultMastodonInstance) : stored;
}

std::optional<qsizetype> SocialAccount::mastodonCharacterLimit() const
{
    bool ok = false;
    const qsizetype limit = credential(CredentialKeys::maxCharacters).toLongLong(&ok);
    if (platform != PlatformType::mastodon || !ok || limit <= 0)
        return std::nullopt;
    return limit;
}

void SocialAccount::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("id");
    writer.uuid(id);
    writer.key("platform");
    writer.string(rawValue(platform));
    writer.key("name");
    writer.string(name);
    if (nickname) {
        writer.key("nickname");
        writer.string(*nickname);
    }
    writer.key("credentials");
    writer.beginObject();
    for (auto it = credentials.constBegin(); it != credentials.constEnd(); ++it) {
        writer.key(it.key().toStdString());
        writer.string(it.value());
    }
    writer.endObject();
    writer.key("isDefault");
    writer.boolean(isDefault);
    writer.key("isEnabled");
    writer.boolean(isEnabled);
    writer.key("createdAt");
    writer.date(createdAt);
    writer.endObject();
}

SocialAccount SocialAccount::decode(const JsonReader& reader)
{
    reader.expectObject();
    SocialAccount account;
    account.id = reader["id"].uuid();
    const JsonReader platform = reader["platform"];
    const auto type = platformTypeFromRawValue(platform.string());
    if (!type)
        platform.fail(CodingError::Kind::invalidValue, QStringLiteral("unknown platform \"") + platform.string() + u'"');
    account.platform = *type;
    account.name = reader["name"].string();
    if (const auto nickname = reader.optional("nickname"))
        account.nickname = nickname->string();
    reader["credentials"].forEachMember([&](std::string_view key, const JsonReader& value) {
        account.credentials.insert(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())), value.string());
    });
    account.isDefault = reader["isDefault"].boolean();
    account.isEnabled = reader["isEnabled"].boolean();
    account.createdAt = reader["createdAt"].date();
    return account;
}

SocialAccount SocialAccount::fromJson(const Json& json, DateEncoding dates)
{
    return JsonReader::read(json, dates, &SocialAccount::decode);
}

QByteArray SocialAccount::encodeList(const QList<SocialAccount>& accounts, JsonLayout layout, DateEncoding dates)
{
    JsonWriter writer(layout, dates);
    writer.beginArray();
    for (const SocialAccount& account : accounts)
        account.write(writer);
    writer.endArray();
    if (layout == JsonLayout::prettySortedKeys)
        return JsonValues::dump(JsonValues::parse(writer.toByteArray()), layout);
    return writer.toByteArray();
}

QList<SocialAccount> SocialAccount::decodeList(const QByteArray& document, DateEncoding dates)
{
    return JsonReader::readList(document, dates, &SocialAccount::decode);
}
