#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>

class PreferenceStore;

// The folder that attachments are copied into ("Quillo/Media" under the data
// folder), shared by drafts and scheduled posts.
class MediaFolder {
public:
    explicit MediaFolder(QString path);

    const QString& path() const { return m_path; }

    // Removes every file in the folder that neither the stored scheduled posts nor the
    // saved composer draft refer to, and returns the removed paths. When either
    // document exists but cannot be parsed nothing is removed: a file that looks
    // orphaned may belong to a post that just failed to load.
    QStringList removeOrphans(const PreferenceStore& store) const;

    // The local files a JSON document refers to: every file URL (keyed or plain) and
    // absolute path string anywhere in it, whatever the document's shape. Nothing
    // when the document is not JSON.
    static std::optional<QSet<QString>> referencedFiles(const QByteArray& document);

private:
    QString m_path;
};
