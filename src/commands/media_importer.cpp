#include "commands/media_importer.h"

#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"
#include "media/image_encoder.h"
#include "media/media_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryFile>

#include <qcoro/qcoronetworkreply.h>

#include <memory>

namespace {

bool isRemote(const QString& reference)
{
    return reference.startsWith(QStringLiteral("http://"), Qt::CaseInsensitive)
        || reference.startsWith(QStringLiteral("https://"), Qt::CaseInsensitive);
}

QString localPath(const QString& reference)
{
    if (reference.startsWith(QStringLiteral("file:"), Qt::CaseInsensitive))
        return QUrl(reference).toLocalFile();
    if (reference == u'~' || reference.startsWith(QStringLiteral("~/")))
        return QDir::homePath() + reference.mid(1);
    return reference;
}

} // namespace

MediaImporter::MediaImporter(QString mediaDir, QNetworkAccessManager& network, ImageEncoder& images, QObject* parent)
    : MediaImporter(std::move(mediaDir), network, images, Limits{}, parent)
{
}

MediaImporter::MediaImporter(QString mediaDir, QNetworkAccessManager& network, ImageEncoder& images, Limits limits,
                             QObject* parent)
    : QObject(parent)
    , m_mediaDir(std::move(mediaDir))
    , m_network(network)
    , m_images(images)
    , m_limits(limits)
{
}

QCoro::Task<QList<PostMedia>> MediaImporter::importAll(QStringList references)
{
    QList<PostMedia> imported;
    try {
        for (const QString& reference : std::as_const(references))
            imported.append(co_await importOne(reference.trimmed()));
    } catch (...) {
        for (const PostMedia& media : std::as_const(imported)) {
            if (media.localFile().startsWith(m_mediaDir))
                QFile::remove(media.localFile());
        }
        throw;
    }
    co_return imported;
}

QCoro::Task<PostMedia> MediaImporter::importOne(QString reference)
{
    if (!isRemote(reference))
        co_return co_await importFile(localPath(reference));
    const QString downloaded = co_await download(QUrl(reference));
    // The download is only a staging copy: the attachment gets a file of its own.
    const auto removeStaging = qScopeGuard([&downloaded] { QFile::remove(downloaded); });
    co_return co_await importFile(downloaded);
}

QCoro::Task<QString> MediaImporter::download(QUrl url)
{
    qCInfo(lcCommands).noquote() << "⬇️ Downloading media from" << url.toString();
    QDir().mkpath(m_mediaDir);
    QTemporaryFile staging(m_mediaDir + QStringLiteral("/.download-XXXXXX"));
    staging.setAutoRemove(false);
    if (!staging.open())
        throw URLSchemeError::failed(QStringLiteral("Could not store the download of ") + url.toString());
    const QString stagingPath = staging.fileName();
    auto failed = [&](const QString& reason) {
        staging.close();
        QFile::remove(stagingPath);
        return URLSchemeError::failed(QStringLiteral("Could not download media from ") + url.toString()
                                      + QStringLiteral(": ") + reason);
    };

    QNetworkRequest request(url);
    request.setTransferTimeout(int(m_limits.downloadTimeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(m_network.get(request),
                                                                    [](QNetworkReply* r) { r->deleteLater(); });
    qint64 received = 0;
    bool tooLarge = false;
    QObject::connect(reply.get(), &QNetworkReply::readyRead, reply.get(), [&, raw = reply.get()] {
        received += raw->bytesAvailable();
        if (received > m_limits.maxDownloadBytes) {
            tooLarge = true;
            raw->abort();
            return;
        }
        staging.write(raw->readAll());
    });
    co_await qCoro(reply.get()).waitForFinished(m_limits.downloadTimeout + std::chrono::seconds(5));

    if (tooLarge)
        throw failed(QStringLiteral("larger than %1 MiB").arg(m_limits.maxDownloadBytes / (1024 * 1024)));
    if (!reply->isFinished()) {
        reply->abort();
        throw failed(QStringLiteral("timed out"));
    }
    if (reply->error() != QNetworkReply::NoError)
        throw failed(reply->errorString());
    staging.write(reply->readAll());
    staging.close();
    co_return stagingPath;
}

QCoro::Task<PostMedia> MediaImporter::importFile(QString filePath) const
{
    const QFileInfo info(filePath);
    if (!info.exists() || !info.isFile())
        throw URLSchemeError::fileNotFound(filePath);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(info);
    if (type.name().startsWith(QStringLiteral("video/")))
        co_return PostMedia::fromVideo(info.absoluteFilePath(), m_mediaDir);
    if (!type.name().startsWith(QStringLiteral("image/")))
        throw URLSchemeError::invalidParameter(QStringLiteral("media is neither an image nor a video: ") + filePath);
    co_return co_await importImage(info.absoluteFilePath());
}

// Images are stored re-encoded as PNG: the attachment then never depends on a format
// a network refuses, and a cut-off file is caught here rather than at publishing.
QCoro::Task<PostMedia> MediaImporter::importImage(QString filePath) const
{
    // A named request: GCC 12 destroys a braced temporary inside co_await twice.
    ImageEncodeRequest request{filePath, ImageFormat::png, std::nullopt};
    QByteArray png;
    try {
        png = co_await m_images.encode(std::move(request));
    } catch (const MediaError& error) {
        if (error.kind() == MediaError::Kind::unreadableInput)
            throw URLSchemeError::invalidParameter(QStringLiteral("image is incomplete or unreadable: ") + filePath);
        qCWarning(lcCommands).noquote() << QStringLiteral("❌ ") + error.message();
        throw URLSchemeError::failed(QStringLiteral("Could not convert the image: ") + filePath);
    }
    const auto media = PostMedia::fromImage(png, m_mediaDir);
    if (!media) {
        qCWarning(lcCommands).noquote() << QStringLiteral("❌ buildMedia: PostMedia.fromImage failed for ")
                + QFileInfo(filePath).fileName();
        throw URLSchemeError::failed(QStringLiteral("Could not copy the image into the media folder: ") + filePath);
    }
    co_return *media;
}
