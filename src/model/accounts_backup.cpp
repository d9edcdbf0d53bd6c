#include "model/accounts_backup.h"

Json AccountsBackup::toJson(DateEncoding dates) const
{
    Json json = Json::object();
    Json list = Json::array();
    for (const SocialAccount& account : accounts)
        list.push_back(account.toJson(dates));
    json["accounts"] = std::move(list);
    Json platforms = Json::array();
    for (const PlatformType platform : enabledPlatforms)
        platforms.push_back(JsonValues::utf8(rawValue(platform)));
    json["enabledPlatforms"] = std::move(platforms);
    return json;
}

AccountsBackup AccountsBackup::decode(const JsonReader& reader)
{
    reader.expectObject();
    AccountsBackup backup;
    backup.accounts = reader["accounts"].list(&SocialAccount::decode);
    backup.enabledPlatforms = reader["enabledPlatforms"].list([](const JsonReader& element) {
        const auto platform = platformTypeFromRawValue(element.string());
        if (!platform)
            element.fail(CodingError::Kind::invalidValue, QStringLiteral("unknown platform \"") + element.string() + u'"');
        return *platform;
    });
    return backup;
}

QByteArray AccountsBackup::encode(JsonLayout layout) const
{
    return JsonValues::dump(toJson(DateEncoding::iso8601), layout);
}

AccountsBackup AccountsBackup::decodeDocument(const QByteArray& document)
{
    const Json json = JsonValues::parse(document);
    return decode(JsonReader(json, DateEncoding::iso8601));
}
