#include "store/media_folder.h"

#include "core/coding_error.h"
#include "core/json_tape.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/store_log.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>


namespace {

std::optional<QString> localPath(std::string_view text)
{
    if (text.substr(0, 5) == "file:") {
        const QUrl url(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
        return url.isLocalFile() ? std::optional<QString>(QDir::cleanPath(url.toLocalFile())) : std::nullopt;
    }
    if (!text.empty() && text.front() == '/')
        return QDir::cleanPath(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    return std::nullopt;
}

} // namespace

MediaFolder::MediaFolder(QString path)
    : m_path(QDir::cleanPath(std::move(path)))
{
}

std::optional<QSet<QString>> MediaFolder::referencedFiles(const QByteArray& document)
{
    std::optional<JsonTape> tape;
    try {
        tape = JsonTape::parse(document);
    } catch (const CodingError&) {
        return std::nullopt;
    }
    // Every string of the document, wherever it sits: the drafts document's shape is
    // not this class's business.
    QSet<QString> files;
    for (std::uint32_t i = 0; i < tape->size(); ++i) {
        if (tape->node(i).type != JsonTape::Type::string)
            continue;
        if (const auto path = localPath(tape->text(i)))
            files.insert(*path);
    }
    return files;
}

QStringList MediaFolder::removeOrphans(const PreferenceStore& store) const
{
    QSet<QString> referenced;
    for (const QLatin1String key : {PreferenceKeys::ScheduledPosts, PreferenceKeys::ComposerDrafts}) {
        const auto document = store.data(key);
        if (!document)
            continue;
        const auto files = referencedFiles(*document);
        if (!files) {
            qCWarning(lcStore).noquote() << QStringLiteral("⚠️ Media clean-up skipped: ") + key
                    + QStringLiteral(" could not be read");
            return {};
        }
        referenced.unite(*files);
    }

    QStringList removed;
    const QFileInfoList entries = QDir(m_path).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString file = QDir::cleanPath(entry.absoluteFilePath());
        if (referenced.contains(file) || !QFile::remove(file))
            continue;
        qCInfo(lcStore).noquote() << QStringLiteral("🗑 Removed orphaned media file: ") + entry.fileName();
        removed.append(file);
    }
    return removed;
}
