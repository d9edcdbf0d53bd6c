#include "core/user_defaults_storage.h"

#include "core/preference_store.h"

UserDefaultsStorage::UserDefaultsStorage(QString nameSpace, PreferenceStore& defaults)
    : m_namespace(std::move(nameSpace))
    , m_defaults(defaults)
{
}

QString UserDefaultsStorage::fullKey(const QString& key) const
{
    return m_namespace + u'.' + key;
}

std::optional<bool> UserDefaultsStorage::boolValue(const QString& key) const { return m_defaults.boolValue(fullKey(key)); }
std::optional<QString> UserDefaultsStorage::stringValue(const QString& key) const { return m_defaults.stringValue(fullKey(key)); }
std::optional<double> UserDefaultsStorage::doubleValue(const QString& key) const { return m_defaults.doubleValue(fullKey(key)); }
std::optional<qint64> UserDefaultsStorage::intValue(const QString& key) const { return m_defaults.intValue(fullKey(key)); }

void UserDefaultsStorage::setBool(const QString& key, bool value) { m_defaults.setValue(fullKey(key), value); }
void UserDefaultsStorage::setString(const QString& key, const QString& value) { m_defaults.setValue(fullKey(key), value); }
void UserDefaultsStorage::setDouble(const QString& key, double value) { m_defaults.setValue(fullKey(key), value); }
void UserDefaultsStorage::setInt(const QString& key, qint64 value) { m_defaults.setValue(fullKey(key), value); }
void UserDefaultsStorage::remove(const QString& key) { m_defaults.remove(fullKey(key)); }
