#include "commands/command_params.h"
#include "core/json.h"
#include "core/json_values.h"

#include <QUrlQuery>

CommandParams CommandParams::fromUrl(const QUrl& url)
{
    CommandParams params;
    const auto items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    for (const auto& [name, value] : items)
        params.m_values.insert(name, value);
    return params;
}

std::optional<QString> CommandParams::get(const QString& name) const
{
    const auto found = m_values.constFind(name);
    if (found == m_values.cend())
        return std::nullopt;
    return *found;
}

QStringList CommandParams::list(const QString& name) const
{
    const QString text = value(name).trimmed();
    if (text.startsWith(u'[')) {
        const auto parsed = JsonValues::parseOrDiscard(text.toStdString());
        if (parsed.is_array()) {
            QStringList items;
            for (const auto& item : parsed) {
                if (item.is_string())
                    items << QString::fromStdString(item.get<std::string>()).trimmed();
            }
            items.removeAll(QString());
            return items;
        }
    }
    QStringList items;
    const auto parts = text.split(u',', Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        if (!part.trimmed().isEmpty())
            items << part.trimmed();
    }
    return items;
}

QString CommandParams::describe() const
{
    if (m_values.isEmpty())
        return QStringLiteral("[:]");
    QStringList entries;
    for (auto it = m_values.cbegin(); it != m_values.cend(); ++it)
        entries << u'"' + it.key() + QStringLiteral("\": \"") + it.value() + u'"';
    return u'[' + entries.join(QStringLiteral(", ")) + u']';
}
