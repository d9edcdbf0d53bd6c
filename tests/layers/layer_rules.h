#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

// The allowed-dependency table of src/layers.txt and the check of a source tree
// against it: every #include "<folder>/..." must name the file's own layer or one the
// table lets it use.
class LayerRules {
public:
    // Nothing when the table cannot be read; `error` then says why.
    static std::optional<LayerRules> load(const QString& tablePath, QString* error);

    // One line per include the table does not allow: "file:line: includes <header> (<from> may not use <to>)".
    QStringList violations(const QString& sourceRoot) const;

private:
    // The layer a path inside src/ belongs to: the longest table entry it starts with.
    std::optional<QString> layerOf(const QString& relativePath) const;
    QStringList violationsIn(const QString& sourceRoot, const QString& relativePath) const;

    QMap<QString, QSet<QString>> m_allowed;
};
