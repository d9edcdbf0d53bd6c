#include "ui/media_strip.h"

#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kThumbSize = 96;
constexpr int kTileWidth = 184;

QList<QUuid> idsOf(const QList<PostMedia>& media)
{
    QList<QUuid> ids;
    for (const PostMedia& item : media)
        ids << item.id;
    return ids;
}

QPixmap videoPlaceholder(const QPalette& palette)
{
    QPixmap pixmap(kThumbSize, kThumbSize);
    pixmap.fill(palette.color(QPalette::Shadow));
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette.color(QPalette::Light));
    painter.setPen(Qt::NoPen);
    const QPointF play[] = {{38, 30}, {38, 66}, {68, 48}};
    painter.drawPolygon(play, 3);
    return pixmap;
}

} // namespace

MediaStrip::MediaStrip(QWidget* parent)
    : QWidget(parent)
    , m_row(new QHBoxLayout(this))
{
    m_row->setContentsMargins(0, 0, 0, 0);
    m_row->addStretch();
    hide();
}

QString MediaStrip::durationText(double seconds)
{
    const int total = int(seconds + 0.5);
    return total >= 3600 ? QStringLiteral("%1:%2:%3").arg(total / 3600).arg(total / 60 % 60, 2, 10, QLatin1Char('0')).arg(total % 60, 2, 10, QLatin1Char('0'))
                         : QStringLiteral("%1:%2").arg(total / 60).arg(total % 60, 2, 10, QLatin1Char('0'));
}

void MediaStrip::setMedia(const QList<PostMedia>& media)
{
    if (media == m_media)
        return;
    const bool sameTiles = idsOf(media) == idsOf(m_media);
    m_media = media;
    if (!sameTiles) {
        rebuild();
        return;
    }
    for (const PostMedia& item : media) {
        QLineEdit* field = m_altFields.value(item.id);
        if (field && !field->hasFocus() && field->text() != item.altText.value_or(QString()))
            field->setText(item.altText.value_or(QString()));
    }
}

void MediaStrip::rebuild()
{
    while (m_row->count() > 1) {
        QLayoutItem* item = m_row->takeAt(0);
        delete item->widget();
        delete item;
    }
    m_altFields.clear();
    for (const PostMedia& item : std::as_const(m_media))
        m_row->insertWidget(m_row->count() - 1, tile(item));
    setVisible(!m_media.isEmpty());
}

QWidget* MediaStrip::tile(const PostMedia& media)
{
    auto* box = new QWidget(this);
    box->setObjectName(QStringLiteral("media-") + media.id.toString(QUuid::WithoutBraces));
    box->setFixedWidth(kTileWidth);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* buttons = new QHBoxLayout;

    auto* picture = new QLabel(box);
    picture->setFixedSize(kThumbSize, kThumbSize);
    picture->setAlignment(Qt::AlignCenter);
    picture->setPixmap(thumbnail(media));
    picture->setToolTip(media.isMissing ? tr("The file is gone: remove it or attach it again") : media.localFile());
    layout->addWidget(picture, 0, Qt::AlignHCenter);

    const QUuid id = media.id;
    if (media.isImage()) {
        auto* alt = new QLineEdit(media.altText.value_or(QString()), box);
        alt->setPlaceholderText(tr("Alt text"));
        alt->setToolTip(tr("Describe the image for people who cannot see it"));
        alt->setAccessibleName(tr("Alt text"));
        connect(alt, &QLineEdit::textEdited, this, [this, id](const QString& text) { Q_EMIT altTextEdited(id, text); });
        m_altFields.insert(id, alt);
        layout->addWidget(alt);
        auto* redact = new QPushButton(tr("Redact…"), box);
        redact->setToolTip(media.redactions.isEmpty() ? tr("Cover parts of the image before it is posted")
                                                      : media.redactions.size() == 1 ? tr("1 area covered")
                                                                                     : tr("%1 areas covered").arg(media.redactions.size()));
        connect(redact, &QPushButton::clicked, this, [this, id] { Q_EMIT redactRequested(id); });
        buttons->addWidget(redact);
    } else {
        auto* length = new QLabel(media.videoDuration ? durationText(*media.videoDuration) : tr("Video"), box);
        length->setAlignment(Qt::AlignHCenter);
        layout->addWidget(length);
        auto* edit = new QPushButton(tr("Edit video"), box);
        connect(edit, &QPushButton::clicked, this, [this, id] { Q_EMIT editVideoRequested(id); });
        buttons->addWidget(edit);
    }
    auto* remove = new QPushButton(tr("Remove"), box);
    remove->setAccessibleName(tr("Remove attachment"));
    connect(remove, &QPushButton::clicked, this, [this, id] { Q_EMIT removeRequested(id); });
    buttons->addStretch();
    buttons->addWidget(remove);
    layout->addLayout(buttons);
    return box;
}

QPixmap MediaStrip::thumbnail(const PostMedia& media)
{
    if (media.isVideo())
        return videoPlaceholder(palette());
    const QString file = media.localFile();
    if (const auto cached = m_thumbnails.constFind(file); cached != m_thumbnails.cend())
        return *cached;
    QImageReader reader(file);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid())
        reader.setScaledSize(size.scaled(kThumbSize, kThumbSize, Qt::KeepAspectRatio));
    QPixmap pixmap = QPixmap::fromImage(reader.read());
    if (pixmap.isNull()) {
        pixmap = QPixmap(kThumbSize, kThumbSize);
        pixmap.fill(palette().color(QPalette::Mid));
    }
    m_thumbnails.insert(file, pixmap);
    return pixmap;
}
