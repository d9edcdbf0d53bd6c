#include "compose/media_attacher.h"

#include "compose/compose_error.h"
#include "compose/compose_log.h"
#include "media/image_encoder.h"
#include "media/media_error.h"
#include "media/media_prober.h"

#include <QFileInfo>
#include <QMimeDatabase>

namespace {

enum class Kind { image, video, other };

Kind kindOf(const QString& path, QMimeDatabase::MatchMode mode = QMimeDatabase::MatchDefault)
{
    const QString type = QMimeDatabase().mimeTypeForFile(path, mode).name();
    if (type.startsWith(QStringLiteral("image/")))
        return Kind::image;
    if (type.startsWith(QStringLiteral("video/")))
        return Kind::video;
    return Kind::other;
}

} // namespace

MediaAttacher::MediaAttacher(QString mediaDir, ImageEncoder& images, MediaProber& prober)
    : m_mediaDir(std::move(mediaDir))
    , m_images(images)
    , m_prober(prober)
{
}

// By name only: a drag asks on every move, and reading the files each time would stall it.
// Attaching reads the content and refuses what is not media.
bool MediaAttacher::isSupported(const QString& path)
{
    return kindOf(path, QMimeDatabase::MatchExtension) != Kind::other;
}

QCoro::Task<PostMedia> MediaAttacher::attachFile(QString path)
{
    const QFileInfo info(path);
    if (!info.isFile())
        throw ComposeError(QObject::tr("%1 was not found.").arg(info.fileName()));
    switch (kindOf(path)) {
    case Kind::image:
        co_return co_await attachImage(info.absoluteFilePath());
    case Kind::video:
        co_return co_await attachVideo(info.absoluteFilePath());
    case Kind::other:
        break;
    }
    throw ComposeError(QObject::tr("%1 is neither an image nor a video.").arg(info.fileName()));
}

PostMedia MediaAttacher::attachPng(const QByteArray& png) const
{
    const auto media = PostMedia::fromImage(png, m_mediaDir);
    if (!media)
        throw ComposeError(QObject::tr("The pasted image could not be saved into the media folder."));
    return *media;
}

QCoro::Task<PostMedia> MediaAttacher::attachImage(QString path)
{
    // A named request: GCC 12 destroys a braced temporary inside co_await twice.
    ImageEncodeRequest request{path, ImageFormat::png, std::nullopt};
    QByteArray png;
    try {
        png = co_await m_images.encode(std::move(request));
    } catch (const MediaError& error) {
        qCWarning(lcCompose).noquote() << QStringLiteral("❌ Attaching %1 failed: %2").arg(path, error.message());
        throw ComposeError(error.kind() == MediaError::Kind::unreadableInput
                               ? QObject::tr("%1 is incomplete or not an image Quillo can read.").arg(QFileInfo(path).fileName())
                               : QObject::tr("%1 could not be converted: %2").arg(QFileInfo(path).fileName(), error.message()));
    }
    const auto media = PostMedia::fromImage(png, m_mediaDir);
    if (!media)
        throw ComposeError(QObject::tr("%1 could not be copied into the media folder.").arg(QFileInfo(path).fileName()));
    co_return *media;
}

QCoro::Task<PostMedia> MediaAttacher::attachVideo(QString path)
{
    const std::optional<MediaFacts> facts = co_await m_prober.probe(path);
    if (!facts || !facts->hasVideo)
        throw ComposeError(QObject::tr("%1 is not a video Quillo can read.").arg(QFileInfo(path).fileName()));
    co_return PostMedia::fromVideo(path, m_mediaDir, facts->duration);
}
