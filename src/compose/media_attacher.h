#pragma once

#include "model/post_media.h"

#include <QByteArray>
#include <QString>

#include <qcoro/qcorotask.h>

class ImageEncoder;
class MediaProber;

// Turns what a person drops, pastes or picks in the composer into attachments in the media
// folder: images are re-encoded as PNG (so a format a network refuses, or a file cut short,
// is caught now rather than at publishing), videos are copied and their length read.
// Failures throw ComposeError with a message that names the file.
class MediaAttacher {
public:
    MediaAttacher(QString mediaDir, ImageEncoder& images, MediaProber& prober);

    QCoro::Task<PostMedia> attachFile(QString path);
    // An image taken from the clipboard, already encoded as PNG.
    PostMedia attachPng(const QByteArray& png) const;

    // Whether the composer takes this file at all, by its name's type.
    static bool isSupported(const QString& path);

private:
    QCoro::Task<PostMedia> attachImage(QString path);
    QCoro::Task<PostMedia> attachVideo(QString path);

    QString m_mediaDir;
    ImageEncoder& m_images;
    MediaProber& m_prober;
};
