#pragma once

#include "core/json_writer.h"
#include "model/platform_type.h"
#include "model/social_account.h"

#include <QByteArray>
#include <QList>

// The accounts backup file ("quillo-accounts-backup.json"): every account with its
// credentials in clear text, and the enabled platforms. Dates are ISO 8601 text.
struct AccountsBackup {
    QList<SocialAccount> accounts;
    QList<PlatformType> enabledPlatforms;

    bool operator==(const AccountsBackup&) const = default;

    void write(JsonWriter& writer) const;
    Json toJson(DateEncoding dates = DateEncoding::iso8601) const { return toJsonValue(*this, dates); }
    static AccountsBackup decode(const JsonReader& reader);

    QByteArray encode(JsonLayout layout = JsonLayout::pretty) const;
    // Throws CodingError.
    static AccountsBackup decodeDocument(const QByteArray& document);
};
