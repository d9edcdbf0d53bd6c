#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

class QIODevice;

#include <functional>
#include <memory>
#include <optional>

class AppPaths;
class QSettings;

// The user's preference store: small typed values in an INI file (QSettings), and
// data-typed values (large JSON documents) each in a file of its own beside it, so that
// a reader never re-parses the whole schedule to look up one switch and a document is
// replaced atomically. Both files are user-only: they hold credentials.
//
// The application-group suite of other platforms falls back to this same store.
class PreferenceStore {
public:
    explicit PreferenceStore(const AppPaths& paths);
    ~PreferenceStore();
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    // No value when nothing is stored under the key: callers decide the default.
    std::optional<QVariant> value(QAnyStringView key) const;
    // Only a stored Boolean or the text "true" or "false" is a Boolean; any other text
    // reads as no value, so the caller's default applies.
    std::optional<bool> boolValue(QAnyStringView key) const;
    static std::optional<bool> strictBool(const QVariant& stored);
    std::optional<QString> stringValue(QAnyStringView key) const;
    std::optional<double> doubleValue(QAnyStringView key) const;
    std::optional<qint64> intValue(QAnyStringView key) const;
    std::optional<QStringList> stringListValue(QAnyStringView key) const;
    bool contains(QAnyStringView key) const;

    // The stored value, or the default of the key table when none is stored (or, for a
    // Boolean key, when the stored text is not a Boolean).
    QVariant valueOrDefault(QAnyStringView key) const;

    void setValue(QAnyStringView key, const QVariant& value);
    void remove(QAnyStringView key);

    // Data-typed values. setData replaces the document atomically; on failure the
    // previous document stays whole and false is returned.
    std::optional<QByteArray> data(const QString& key) const;
    // Calls read(document) with the stored document mapped into memory rather than
    // copied, for the length of the call only; false when nothing is stored. Saves
    // replace the file by renaming, so the mapped document never changes under read.
    bool readData(const QString& key, const std::function<void(const QByteArray&)>& read) const;
    bool setData(const QString& key, const QByteArray& bytes);
    // The same with the document written by write(device), which returns false (or
    // throws) to abandon the write; the previous document then stays as it was.
    bool writeData(const QString& key, const std::function<bool(QIODevice&)>& write);
    bool removeData(const QString& key);
    // Keeps the stored document beside itself as "<key>.json.unreadable-<its modification
    // time, UTC>", for a document that could not be decoded and is about to be replaced:
    // nothing the user had is lost. Returns the copy's path, empty when there is nothing
    // to keep or no copy could be made.
    QString keepUnreadableCopy(const QString& key);
    QString dataPath(const QString& key) const;

    // Writes pending changes and picks up what another process stored meanwhile.
    void sync();
    // Removes every stored value and document.
    void clear();

    QString fileName() const;

private:
    QString m_configDir;
    std::unique_ptr<QSettings> m_settings;
};
