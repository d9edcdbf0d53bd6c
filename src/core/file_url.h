#pragma once

#include <QString>
#include <QUrl>

// A file location as URL text ("file:///home/ada/clip.mov"), kept as the text it was
// stored with. Converting to QUrl only when a file is actually touched keeps loading
// a large schedule from parsing tens of thousands of URLs it may never open.
class FileUrl {
public:
    FileUrl() = default;
    // From any URL, in its fully encoded text form.
    FileUrl(const QUrl& url); // NOLINT(google-explicit-constructor): a drop-in for QUrl fields
    static FileUrl fromLocalFile(const QString& path) { return FileUrl(QUrl::fromLocalFile(path)); }
    // Takes the text as it is.
    static FileUrl fromText(QString text);

    const QString& text() const { return m_text; }
    bool isEmpty() const { return m_text.isEmpty(); }
    bool isValid() const { return !isEmpty() && toUrl().isValid(); }
    QUrl toUrl() const { return QUrl(m_text); }
    operator QUrl() const { return toUrl(); } // NOLINT(google-explicit-constructor)
    bool isLocalFile() const { return toUrl().isLocalFile(); }
    QString toLocalFile() const { return toUrl().toLocalFile(); }
    QString fileName() const { return toUrl().fileName(); }
    QString toString() const { return m_text; }

    bool operator==(const FileUrl&) const = default;

private:
    QString m_text;
};
