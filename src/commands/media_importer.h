#pragma once

#include "model/post_media.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <qcoro/qcorotask.h>

#include <chrono>

class ImageEncoder;
class QNetworkAccessManager;

// Brings media named by a command into the media folder: local paths, file URLs, and
// http(s) URLs (downloaded first, bounded in size and time). Images are checked to be
// complete and re-encoded (by the ImageEncoder) before they are attached. Failures throw URLSchemeError with a message that
// names the file; media imported earlier in the same call is removed again.
class MediaImporter : public QObject {
    Q_OBJECT
public:
    struct Limits {
        qint64 maxDownloadBytes = 200 * 1024 * 1024;
        std::chrono::milliseconds downloadTimeout{60000};
    };

    MediaImporter(QString mediaDir, QNetworkAccessManager& network, ImageEncoder& images, QObject* parent = nullptr);
    MediaImporter(QString mediaDir, QNetworkAccessManager& network, ImageEncoder& images, Limits limits,
                  QObject* parent = nullptr);

    QCoro::Task<QList<PostMedia>> importAll(QStringList references);

private:
    QCoro::Task<PostMedia> importOne(QString reference);
    QCoro::Task<QString> download(QUrl url);
    QCoro::Task<PostMedia> importFile(QString filePath) const;
    QCoro::Task<PostMedia> importImage(QString filePath) const;

    QString m_mediaDir;
    QNetworkAccessManager& m_network;
    ImageEncoder& m_images;
    Limits m_limits;
};
