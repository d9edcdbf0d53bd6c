#include "model/social_account.h"

SocialAccount SocialAccount::create(PlatformType platform, const QString& name,
                                    const QMap<QString, QString>& credentials)
{
    SocialAccount account;
    account.id = QUuid::createUuid();
    account.platform = platform;
    account.name = name;
    account.credentials = credentials;
    account.createdAt = Timestamp::now();
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

Json SocialAccount::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    json["id"] = JsonValues::uuidText(id);
    json["platform"] = JsonValues::utf8(rawValue(platform));
    json["name"] = JsonValues::utf8(name);
    if (nickname)
        json["nickname"] = JsonValues::utf8(*nickname);
    Json secrets = Json::object();
    for (auto it = credentials.constBegin(); it != credentials.constEnd(); ++it)
        secrets[JsonValues::utf8(it.key())] = JsonValues::utf8(it.value());
    json["credentials"] = std::move(secrets);
    json["isDefault"] = isDefault;
    json["isEnabled"] = isEnabled;
    json["createdAt"] = JsonValues::date(createdAt, dates);
    return json;
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
    reader["credentials"].forEachMember([&](const std::string& key, const JsonReader& value) {
        account.credentials.insert(QString::fromStdString(key), value.string());
    });
    account.isDefault = reader["isDefault"].boolean();
    account.isEnabled = reader["isEnabled"].boolean();
    account.createdAt = reader["createdAt"].date();
    return account;
}

SocialAccount SocialAccount::fromJson(const Json& json, DateEncoding dates)
{
    return decode(JsonReader(json, dates));
}

QByteArray SocialAccount::encodeList(const QList<SocialAccount>& accounts, JsonLayout layout, DateEncoding dates)
{
    Json array = Json::array();
    for (const SocialAccount& account : accounts)
        array.push_back(account.toJson(dates));
    return JsonValues::dump(array, layout);
}

QList<SocialAccount> SocialAccount::decodeList(const QByteArray& document, DateEncoding dates)
{
    const Json json = JsonValues::parse(document);
    return JsonReader(json, dates).list(&SocialAccount::decode);
}
