#include "commands/media_importer.h"

#include "commands/commands_log.h"
#include "commands/url_scheme_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
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

QByteArray tail(QFile& file, qint64 bytes)
{
    const qint64 size = file.size();
    file.seek(qMax<qint64>(0, size - bytes));
    return file.read(bytes);
}

// Formats whose end is marked: a file cut short lacks the marker even when a decoder
// would still show the top half of the picture.
bool hasEndMarker(const QString& filePath, const QByteArray& format)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (format == "png")
        return tail(file, 12).startsWith(QByteArray::fromHex("0000000049454e44"));
    if (format == "jpeg" || format == "jpg") {
        QByteArray end = tail(file, 64);
        // Some cameras pad after the end-of-image marker.
        while (end.endsWith('\0'))
            end.chop(1);
        return end.endsWith(QByteArray::fromHex("ffd9"));
    }
    if (format == "gif")
        return tail(file, 1) == QByteArray(1, 0x3b);
    if (format == "webp") {
        file.seek(4);
        const QByteArray length = file.read(4);
        if (length.size() != 4)
            return false;
        const quint32 declared = quint8(length[0]) | quint8(length[1]) << 8 | quint8(length[2]) << 16 | quint32(quint8(length[3])) << 24;
        return qint64(declared) + 8 <= file.size();
    }
    return true;
}

} // namespace

MediaImporter::MediaImporter(QString mediaDir, QNetworkAccessManager& network, QObject* parent)
    : MediaImporter(std::move(mediaDir), network, Limits{}, parent)
{
}

MediaImporter::MediaImporter(QString mediaDir, QNetworkAccessManager& network, Limits limits, QObject* parent)
    : QObject(parent)
    , m_mediaDir(std::move(mediaDir))
    , m_network(network)
    , m_limits(limits)
{
}

bool MediaImporter::isCompleteImage(const QString& filePath)
{
    QImageReader reader(filePath);
    const QByteArray format = reader.format().toLower();
    if (format.isEmpty() || !hasEndMarker(filePath, format))
        return false;
    return !reader.read().isNull();
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
        co_return importFile(localPath(reference));
    const QString downloaded = co_await download(QUrl(reference));
    // The download is only a staging copy: the attachment gets a file of its own.
    const auto removeStaging = qScopeGuard([&downloaded] { QFile::remove(downloaded); });
    co_return importFile(downloaded);
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

PostMedia MediaImporter::importFile(const QString& filePath) const
{
    const QFileInfo info(filePath);
    if (!info.exists() || !info.isFile())
        throw URLSchemeError::fileNotFound(filePath);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(info);
    if (type.name().startsWith(QStringLiteral("video/")))
        return PostMedia::fromVideo(info.absoluteFilePath(), m_mediaDir);
    if (!type.name().startsWith(QStringLiteral("image/")))
        throw URLSchemeError::invalidParameter(QStringLiteral("media is neither an image nor a video: ") + filePath);
    if (!isCompleteImage(info.absoluteFilePath()))
        throw URLSchemeError::invalidParameter(QStringLiteral("image is incomplete or unreadable: ") + filePath);
    const auto media = PostMedia::fromImage(QImage(info.absoluteFilePath()), m_mediaDir);
    if (!media) {
        qCWarning(lcCommands).noquote() << QStringLiteral("❌ buildMedia: PostMedia.fromImage failed for ") + info.fileName();
        throw URLSchemeError::failed(QStringLiteral("Could not copy the image into the media folder: ") + filePath);
    }
    return *media;
}
