#pragma once

#include "core/json.h"
#include "model/platform_type.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// One post of a thread that reached an account: its place in the thread (0 is the head)
// and what the network calls it.
struct DeliveredPost {
    int index = 0;
    QString id;
    QString url;
    // The content hash a reply must name as well, where the network has one (Bluesky).
    QString cid{};

    bool operator==(const DeliveredPost&) const = default;
};

// What one account has received of a thread so far.
struct AccountDelivery {
    QUuid accountId;
    PlatformType platform = PlatformType::x;
    QString accountName;
    // In thread order, without gaps: a thread is resumed after the last one.
    QList<DeliveredPost> posts;
    bool complete = false;

    bool operator==(const AccountDelivery&) const = default;
};

// Which posts of a scheduled thread reached which account, written after every post so
// that a publication cut short (crash, kill, power loss) is never repeated: a retry
// delivers only what is missing. Kept beside the scheduled post, never inside it.
struct DeliveryRecord {
    QUuid scheduledPostId;
    QList<AccountDelivery> accounts;
    // Set before anything is sent and cleared when publishing ends: a record found set at
    // start-up belongs to a publication that a crash cut short.
    bool inProgress = false;

    bool operator==(const DeliveryRecord&) const = default;

    const AccountDelivery* find(const QUuid& accountId) const;
    // The entry for an account, added when it has none.
    AccountDelivery& entry(const QUuid& accountId, PlatformType platform, const QString& accountName);
    bool isEmpty() const;
    // "BlueSky @ada: posts 1–2 of 3 delivered (https://…)" lines for people.
    QString summary(int threadLength) const;

    Json toJson() const;
    // Nothing when the document is not a record.
    static std::optional<DeliveryRecord> fromJson(const Json& json);
};
