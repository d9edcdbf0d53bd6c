#include "model/quote_context.h"

#include <QUrl>

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

std::optional<QuoteContext> QuoteContext::fromLink(const QString& quote)
{
    if (quote.trimmed().isEmpty())
        return std::nullopt;
    QuoteContext context;
    context.text = quote.trimmed();
    // A link to the post is the usual way to name it; keep what its address tells.
    const QUrl url(context.text);
    const QStringList path = url.path().split(u'/', Qt::SkipEmptyParts);
    const QString host = url.host().toLower();
    if ((host.endsWith(QStringLiteral("x.com")) || host.endsWith(QStringLiteral("twitter.com"))) && path.size() >= 3
        && path[1] == QStringLiteral("status"))
        context.setIdOn(PlatformType::x, path[2]);
    else if (host == QStringLiteral("bsky.app") && path.size() >= 4 && path[0] == QStringLiteral("profile")
             && path[2] == QStringLiteral("post"))
        context.setIdOn(PlatformType::bluesky,
                        QStringLiteral("at://") + path[1] + QStringLiteral("/app.bsky.feed.post/") + path[3]);
    else if (path.size() >= 2 && path[0].startsWith(u'@'))
        context.setIdOn(PlatformType::mastodon, path[1]);
    return context;
}
