#include "model/quote_context.h"

std::optional<QString> QuoteContext::idOn(PlatformType platform) const
{
    const auto exact = platformIds.constFind(rawValue(platform));
    if (exact != platformIds.constEnd())
        return *exact;
    // Tolerate other spellings of the platform's name ("X", "BlueSky").
    for (auto it = platformIds.constBegin(); it != platformIds.constEnd(); ++it) {
        if (platformTypeFromName(it.key()) == platform)
            return it.value();
    }
    return std::nullopt;
}

Json QuoteContext::toJson() const
{
    Json json = Json::object();
    json["text"] = JsonValues::utf8(text);
    Json ids = Json::object();
    for (auto it = platformIds.constBegin(); it != platformIds.constEnd(); ++it)
        ids[JsonValues::utf8(it.key())] = JsonValues::utf8(it.value());
    json["platformIds"] = std::move(ids);
    return json;
}

QuoteContext QuoteContext::decode(const JsonReader& reader)
{
    reader.expectObject();
    QuoteContext quote;
    quote.text = reader["text"].string();
    reader["platformIds"].forEachMember([&](const std::string& key, const JsonReader& value) {
        quote.platformIds.insert(QString::fromStdString(key), value.string());
    });
    return quote;
}
