#pragma once

#include "core/json.h"

#include <QMap>
#include <QString>

#include <optional>

class AccountManager;
class QUuid;
struct SocialAccount;

// What an instance allows, from GET /api/v2/instance (or /api/v1/instance on older
// servers). Unknown values keep Mastodon's shipped defaults.
struct MastodonInstanceLimits {
    qsizetype maxCharacters = 500;
    int maxMediaAttachments = 4;
    // Bytes; 0 while the instance has not said.
    qint64 imageSizeLimit = 0;
    qint64 videoSizeLimit = 0;

    bool operator==(const MastodonInstanceLimits&) const = default;

    // Reads the `configuration` of a v2 or v1 instance document, and the `max_toot_chars`
    // some forks send instead. Nothing when the document has none of these.
    static std::optional<MastodonInstanceLimits> fromInstanceDocument(const Json& document);
    // The limits cached with an account (defaults where none are stored).
    static MastodonInstanceLimits fromAccount(const SocialAccount& account);
    // Stores the limits beside the account's credentials.
    void writeTo(QMap<QString, QString>& credentials) const;
    // Caches the limits with the stored account (after a publication read them afresh);
    // saves only when they changed. False when no such account is stored.
    bool storeWith(AccountManager& accounts, const QUuid& accountId) const;
};
