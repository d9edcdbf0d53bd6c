#include "model/accounts_backup.h"

void AccountsBackup::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("accounts");
    writer.beginArray();
    for (const SocialAccount& account : accounts)
        account.write(writer);
    writer.endArray();
    writer.key("enabledPlatforms");
    writer.beginArray();
    for (const PlatformType platform : enabledPlatforms)
        writer.string(rawValue(platform));
    writer.endArray();
    writer.endObject();
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
    JsonWriter writer(layout, DateEncoding::iso8601);
    write(writer);
    if (layout == JsonLayout::prettySortedKeys)
        return JsonValues::dump(JsonValues::parse(writer.toByteArray()), layout);
    return writer.toByteArray();
}

AccountsBackup AccountsBackup::decodeDocument(const QByteArray& document)
{
    return JsonReader::read(document, DateEncoding::iso8601, &AccountsBackup::decode);
}
