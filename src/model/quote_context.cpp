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

void QuoteContext::write(JsonWriter& writer) const
{
    writer.beginObject();
    writer.key("text");
    writer.string(text);
    writer.key("platformIds");
    writer.beginObject();
    for (auto it = platformIds.constBegin(); it != platformIds.constEnd(); ++it) {
        writer.key(it.key().toStdString());
        writer.string(it.value());
    }
    writer.endObject();
    writer.endObject();
}

QuoteContext QuoteContext::decode(const JsonReader& reader)
{
    reader.expectObject();
    QuoteContext quote;
    quote.text = reader["text"].string();
    reader["platformIds"].forEachMember([&](std::string_view key, const JsonReader& value) {
        quote.platformIds.insert(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())), value.string());
    });
    return quote;
}
