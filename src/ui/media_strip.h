#pragma once

#include "model/post_media.h"

#include <QHash>
#include <QPixmap>
#include <QWidget>

class QHBoxLayout;
class QLineEdit;

// A post's attachments as a row of tiles: a thumbnail, the alt text of an image, a video's
// length with its "Edit video" button, and a remove button.
class MediaStrip : public QWidget {
    Q_OBJECT
public:
    explicit MediaStrip(QWidget* parent = nullptr);

    // Keeps the tiles (and the field being typed in) when only alt text or edits changed.
    void setMedia(const QList<PostMedia>& media);
    const QList<PostMedia>& media() const { return m_media; }
    // The alt-text field of an image, for tests and screenshots.
    QLineEdit* altTextField(const QUuid& mediaId) const { return m_altFields.value(mediaId); }

    static QString durationText(double seconds);

Q_SIGNALS:
    void altTextEdited(const QUuid& mediaId, const QString& text);
    void removeRequested(const QUuid& mediaId);
    void editVideoRequested(const QUuid& mediaId);
    void redactRequested(const QUuid& mediaId);

private:
    void rebuild();
    QWidget* tile(const PostMedia& media);
    QPixmap thumbnail(const PostMedia& media);

    QHBoxLayout* m_row;
    QList<PostMedia> m_media;
    QHash<QUuid, QLineEdit*> m_altFields;
    // Decoding a photo for its thumbnail is the slow part; done once per file.
    QHash<QString, QPixmap> m_thumbnails;
};
