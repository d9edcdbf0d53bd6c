#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// The query items of a command URL, percent-decoded. Booleans are "true"/"false";
// lists are comma-separated (a JSON array of texts is accepted too, for values that
// may themselves hold commas, like file paths).
class CommandParams {
public:
    CommandParams() = default;
    static CommandParams fromUrl(const QUrl& url);

    bool has(const QString& name) const { return m_values.contains(name); }
    QString value(const QString& name, const QString& fallback = {}) const { return m_values.value(name, fallback); }
    std::optional<QString> get(const QString& name) const;
    bool isTrue(const QString& name) const { return value(name) == QStringLiteral("true"); }
    QStringList list(const QString& name) const;
    void insert(const QString& name, const QString& value) { m_values.insert(name, value); }

    // ["name": "value", ...] for the log.
    QString describe() const;

private:
    QMap<QString, QString> m_values;
};
