#pragma once

#include <QString>

#include <optional>

class PreferenceStore;

// A namespaced view of the preference store for views that keep their own state:
// namespace "CalendarWindow" and key "displayMode" read "CalendarWindow.displayMode".
// A key that was never written reads as no value; callers supply their own default.
class UserDefaultsStorage {
public:
    UserDefaultsStorage(QString nameSpace, PreferenceStore& defaults);

    QString fullKey(const QString& key) const;

    std::optional<bool> boolValue(const QString& key) const;
    std::optional<QString> stringValue(const QString& key) const;
    std::optional<double> doubleValue(const QString& key) const;
    std::optional<qint64> intValue(const QString& key) const;

    void setBool(const QString& key, bool value);
    void setString(const QString& key, const QString& value);
    void setDouble(const QString& key, double value);
    void setInt(const QString& key, qint64 value);
    void remove(const QString& key);

private:
    QString m_namespace;
    PreferenceStore& m_defaults;
};
