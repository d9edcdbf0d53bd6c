#include "layers/layer_rules.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

std::optional<LayerRules> LayerRules::load(const QString& tablePath, QString* error)
{
    QFile file(tablePath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        *error = tablePath + QStringLiteral(": ") + file.errorString();
        return std::nullopt;
    }
    LayerRules rules;
    int lineNumber = 0;
    while (!file.atEnd()) {
        ++lineNumber;
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const qsizetype colon = line.indexOf(u':');
        if (colon <= 0) {
            *error = QStringLiteral("%1:%2: expected \"layer: lower layers\"").arg(tablePath).arg(lineNumber);
            return std::nullopt;
        }
        QSet<QString> allowed;
        for (const QString& lower : line.mid(colon + 1).split(u' ', Qt::SkipEmptyParts))
            allowed.insert(lower);
        rules.m_allowed.insert(line.left(colon).trimmed(), allowed);
    }
    return rules;
}

std::optional<QString> LayerRules::layerOf(const QString& relativePath) const
{
    std::optional<QString> best;
    for (auto it = m_allowed.keyBegin(); it != m_allowed.keyEnd(); ++it) {
        if (relativePath.startsWith(*it + u'/') && (!best || it->size() > best->size()))
            best = *it;
    }
    return best;
}

QStringList LayerRules::violations(const QString& sourceRoot) const
{
    QStringList found;
    QDirIterator files(sourceRoot, {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        found += violationsIn(sourceRoot, path.mid(sourceRoot.size() + 1));
    }
    found.sort();
    return found;
}

QStringList LayerRules::violationsIn(const QString& sourceRoot, const QString& relativePath) const
{
    static const QRegularExpression include(QStringLiteral(R"re(^\s*#\s*include\s*"([^"]+/[^"]+)")re"));
    const std::optional<QString> from = layerOf(relativePath);
    if (!from)
        return {relativePath + QStringLiteral(": in no layer of the table")};

    QFile file(sourceRoot + u'/' + relativePath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {relativePath + QStringLiteral(": ") + file.errorString()};
    QStringList found;
    int lineNumber = 0;
    while (!file.atEnd()) {
        ++lineNumber;
        const QRegularExpressionMatch match = include.match(QString::fromUtf8(file.readLine()));
        if (!match.hasMatch())
            continue;
        const QString header = match.captured(1);
        const std::optional<QString> to = layerOf(header);
        if (to == from || (to && m_allowed.value(*from).contains(*to)))
            continue;
        found.append(QStringLiteral("%1:%2: includes %3 (%4 may not use %5)")
                         .arg(relativePath)
                         .arg(lineNumber)
                         .arg(header, *from, to.value_or(QStringLiteral("a folder outside the table"))));
    }
    return found;
}
