#pragma once

#include "model/delivery_record.h"

#include <QString>
#include <QUuid>

#include <optional>

// The delivery records, one small file per scheduled post in a folder of their own, each
// replaced atomically so a crash mid-write leaves the previous record whole.
class DeliveryRecordStore {
public:
    explicit DeliveryRecordStore(QString folder);

    // Nothing when the post has no record. A record that cannot be read is left on disk
    // as it is, logged, and reported as missing `readable`.
    std::optional<DeliveryRecord> load(const QUuid& scheduledPostId, bool* readable = nullptr) const;
    // False (and the previous record whole) when it cannot be written.
    bool save(const DeliveryRecord& record) const;
    void remove(const QUuid& scheduledPostId) const;
    // The posts whose record says a publication was under way.
    QList<QUuid> inProgress() const;
    // Marks the start (true) or end (false) of a publication, keeping what was delivered.
    bool setInProgress(const QUuid& scheduledPostId, bool inProgress) const;

    QString pathOf(const QUuid& scheduledPostId) const;

private:
    QString m_folder;
};
