#include "store/delivery_record_store.h"

#include "core/json_values.h"

#include "store/store_log.h"

#include <QDir>
#include <QFile>

#include <cstdio>

DeliveryRecordStore::DeliveryRecordStore(QString folder)
    : m_folder(std::move(folder))
{
}

QString DeliveryRecordStore::pathOf(const QUuid& scheduledPostId) const
{
    return QDir(m_folder).filePath(scheduledPostId.toString(QUuid::WithoutBraces) + QStringLiteral(".json"));
}

std::optional<DeliveryRecord> DeliveryRecordStore::load(const QUuid& scheduledPostId, bool* readable) const
{
    if (readable)
        *readable = true;
    QFile file(pathOf(scheduledPostId));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    auto record = DeliveryRecord::fromJson(JsonValues::parseOrDiscard(file.readAll().toStdString()));
    if (!record || record->scheduledPostId != scheduledPostId) {
        qCWarning(lcStore).noquote() << "⚠️ Cannot read the delivery record" << file.fileName() << "- left as it is";
        if (readable)
            *readable = false;
        return std::nullopt;
    }
    return record;
}

bool DeliveryRecordStore::save(const DeliveryRecord& record) const
{
    if (!QDir().mkpath(m_folder))
        return false;
    // Written beside the record and renamed over it: a process killed at any point leaves
    // the old record or the new one, never half of one. (No fsync: it would cost a disk
    // flush per post while publishing, and the threat here is a killed process.)
    const QString path = pathOf(record.scheduledPostId);
    QFile file(path + QStringLiteral(".new"));
    const QByteArray bytes = QByteArray::fromStdString(record.toJson().dump());
    // Created user-only: the record names the accounts the thread went to.
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate, QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(bytes) == bytes.size();
    file.close();
    if (!written || std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path).constData()) != 0) {
        qCWarning(lcStore).noquote() << "❌ Cannot write the delivery record" << path << ":" << file.errorString();
        file.remove();
        return false;
    }
    return true;
}

void DeliveryRecordStore::remove(const QUuid& scheduledPostId) const
{
    QFile::remove(pathOf(scheduledPostId));
}

QList<QUuid> DeliveryRecordStore::inProgress() const
{
    QList<QUuid> ids;
    const QStringList files = QDir(m_folder).entryList({QStringLiteral("*.json")}, QDir::Files);
    for (const QString& file : files) {
        const QUuid id = QUuid::fromString(file.chopped(5));
        const std::optional<DeliveryRecord> record = id.isNull() ? std::nullopt : load(id);
        if (record && record->inProgress)
            ids.append(id);
    }
    return ids;
}

bool DeliveryRecordStore::setInProgress(const QUuid& scheduledPostId, bool inProgress) const
{
    bool readable = true;
    DeliveryRecord record = load(scheduledPostId, &readable).value_or(DeliveryRecord{scheduledPostId, {}, false});
    // A record that cannot be read is kept for a person to look at, never overwritten.
    if (!readable)
        return false;
    record.inProgress = inProgress;
    return save(record);
}
