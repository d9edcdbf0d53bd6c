#include "store/delivery_record_store.h"

#include "store/store_log.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

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
    auto record = DeliveryRecord::fromJson(Json::parse(file.readAll().toStdString(), nullptr, false));
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
    QSaveFile file(pathOf(record.scheduledPostId));
    const QByteArray bytes = QByteArray::fromStdString(record.toJson().dump());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        qCWarning(lcStore).noquote() << "❌ Cannot write the delivery record" << file.fileName() << ":" << file.errorString();
        return false;
    }
    // Post links and ids are the user's business only.
    QFile::setPermissions(file.fileName(), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
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
