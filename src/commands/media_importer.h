#pragma once

#include "model/post_media.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <chrono>

class QNetworkAccessManager;

// Brings media named by a command into the media folder: local paths, file URLs, and
// http(s) URLs (downloaded first, bounded in size and time). Images are checked to be
// complete before they are attached. Failures throw URLSchemeError with a message that
// names the file; media imported earlier in the same call is removed again.
class MediaImporter : public QObject {
    Q_OBJECT
public:
    struct Limits {
        qint64 maxDownloadBytes = 200 * 1024 * 1024;
        std::chrono::milliseconds downloadTimeout{60000};
    };

    MediaImporter(QString mediaDir, QNetworkAccessManager& network, QObject* parent = nullptr);
    MediaImporter(QString mediaDir, QNetworkAccessManager& network, Limits limits, QObject* parent = nullptr);

    QCoro::Task<QList<PostMedia>> importAll(QStringList references);

    // Whether the file holds a whole image (a cut-off download or copy does not).
    static bool isCompleteImage(const QString& filePath);

private:
    QCoro::Task<PostMedia> importOne(QString reference);
    QCoro::Task<QString> download(QUrl url);
    PostMedia importFile(const QString& filePath) const;

    QString m_mediaDir;
    QNetworkAccessManager& m_network;
    Limits m_limits;
};
