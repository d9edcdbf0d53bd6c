#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"
#include "model/platform_type.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QUuid>

#include <optional>

// Names of the credential entries, per platform.
namespace CredentialKeys {
// X (OAuth 1.0a consumer and user tokens).
inline constexpr QLatin1StringView apiKey{"apiKey"};
inline constexpr QLatin1StringView apiSecret{"apiSecret"};
inline constexpr QLatin1StringView accessToken{"accessToken"}; // X and Mastodon
inline constexpr QLatin1StringView accessSecret{"accessSecret"};
// Bluesky.
inline constexpr QLatin1StringView handle{"handle"};
inline constexpr QLatin1StringView appPassword{"appPassword"};
// Optional: the base URL of the account's own PDS or entryway, for people not on bsky.social.
inline constexpr QLatin1StringView service{"service"};
// Mastodon.
inline constexpr QLatin1StringView instance{"instance"};
inline constexpr QLatin1StringView clientId{"clientId"};
inline constexpr QLatin1StringView clientSecret{"clientSecret"};
// The instance's own limits, cached when connecting and publishing (decimal text).
inline constexpr QLatin1StringView maxCharacters{"maxCharacters"};
inline constexpr QLatin1StringView maxMediaAttachments{"maxMediaAttachments"};
} // namespace CredentialKeys

// The public Mastodon instance used where an account's "instance" is empty.
inline constexpr QLatin1StringView kDefaultMastodonInstance{"mastodon.social"};

// A connected account on one platform, with its credentials.
struct SocialAccount {
    QUuid id;
    PlatformType platform = PlatformType::x;
    // The handle or user name as shown in lists.
    QString name;
    // A label the user chose; shown instead of name when set.
    std::optional<QString> nickname;
    // The platform's secrets and settings (see CredentialKeys); a plain JSON object.
    QMap<QString, QString> credentials;
    bool isDefault = false;
    // Disabled accounts are kept but never used for publishing.
    bool isEnabled = true;
    Timestamp createdAt;

    bool operator==(const SocialAccount&) const = default;

    // A new account with a fresh id.
    static SocialAccount create(PlatformType platform, const QString& name, const QMap<QString, QString>& credentials,
                                Timestamp createdAt);

    // The nickname when one is set, else the name.
    QString displayName() const;
    // The credential's value, or an empty string.
    QString credential(QLatin1StringView key) const { return credentials.value(key); }
    // The Mastodon instance host, falling back to kDefaultMastodonInstance when empty.
    QString mastodonInstance() const;
    // The cached character limit of a Mastodon account's instance, when one is known.
    std::optional<qsizetype> mastodonCharacterLimit() const;

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::referenceSeconds) const { return toJsonValue(*this, dates); }
    static SocialAccount decode(const JsonReader& reader);
    static SocialAccount fromJson(const Json& json, DateEncoding dates = DateEncoding::referenceSeconds);

    // The "SocialAccounts" document: a JSON array of accounts.
    static QByteArray encodeList(const QList<SocialAccount>& accounts, JsonLayout layout = JsonLayout::compact,
                                 DateEncoding dates = DateEncoding::referenceSeconds);
    // Throws CodingError.
    static QList<SocialAccount> decodeList(const QByteArray& document,
                                           DateEncoding dates = DateEncoding::referenceSeconds);
};
