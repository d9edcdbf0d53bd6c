#include "ui/post_editor.h"

#include "ui/media_drop.h"
#include "ui/media_strip.h"
#include "ui/post_text_edit.h"

#include <QDropEvent>
#include <QHBoxLayout>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString countText(PlatformType platform, const CharacterCount& count)
{
    QString text = QStringLiteral("%1 %2/%3").arg(displayName(platform)).arg(count.length).arg(count.limit);
    if (count.byteLimit > 0 && count.bytes > count.byteLimit)
        text += QStringLiteral(" (%1/%2 bytes)").arg(count.bytes).arg(count.byteLimit);
    if (count.invalidCharacters)
        text += QStringLiteral(" · invalid character");
    return text;
}

} // namespace

PostEditor::PostEditor(QWidget* parent)
    : QFrame(parent)
    , m_number(new QLabel(this))
    , m_text(new PostTextEdit(this))
    , m_media(new MediaStrip(this))
    , m_addMedia(new QPushButton(tr("Add Media…"), this))
    , m_countRow(new QHBoxLayout)
    , m_remove(new QPushButton(tr("Remove"), this))
    , m_split(new QPushButton(this))
    , m_up(new QPushButton(tr("Move Up"), this))
    , m_down(new QPushButton(tr("Move Down"), this))
{
    setFrameShape(QFrame::StyledPanel);
    m_text->setTabChangesFocus(true);
    m_text->setPlaceholderText(tr("What do you want to share?"));
    m_text->setMinimumHeight(90);
    m_text->setMaximumHeight(160);
    m_text->installEventFilter(this);
    m_remove->setToolTip(tr("Remove this post from the thread"));
    m_addMedia->setToolTip(tr("Attach up to four images or a video; you can also drop or paste them"));
    setAcceptDrops(true);
    m_split->hide();
    m_up->hide();
    m_down->hide();
    m_up->setToolTip(tr("Move this post up (Alt+Up)"));
    m_down->setToolTip(tr("Move this post down (Alt+Down)"));

    auto* header = new QHBoxLayout;
    header->addWidget(m_number);
    header->addStretch();
    header->addWidget(m_up);
    header->addWidget(m_down);
    header->addWidget(m_remove);
    m_countRow->addWidget(m_addMedia);
    m_countRow->addWidget(m_split);
    m_countRow->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(m_text);
    layout->addWidget(m_media);
    layout->addLayout(m_countRow);

    connect(m_text, &QPlainTextEdit::textChanged, this, [this] { Q_EMIT textEdited(m_text->toPlainText()); });
    connect(m_remove, &QPushButton::clicked, this, &PostEditor::removeRequested);
    connect(m_addMedia, &QPushButton::clicked, this, &PostEditor::addMediaRequested);
    connect(m_split, &QPushButton::clicked, this, &PostEditor::splitRequested);
    connect(m_up, &QPushButton::clicked, this, [this] { Q_EMIT moveRequested(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { Q_EMIT moveRequested(+1); });
    connect(m_text, &PostTextEdit::filesDropped, this, &PostEditor::filesDropped);
    connect(m_text, &PostTextEdit::imagePasted, this, &PostEditor::imagePasted);
}

QString PostEditor::text() const
{
    return m_text->toPlainText();
}

void PostEditor::setText(const QString& text)
{
    if (m_text->toPlainText() == text)
        return;
    const QSignalBlocker quiet(m_text);
    m_text->setPlainText(text);
}

void PostEditor::setPosition(int number, int total)
{
    m_number->setText(total > 1 ? tr("Post %1 of %2").arg(number).arg(total) : tr("Post"));
    m_remove->setVisible(total > 1);
}

void PostEditor::setMedia(const QList<PostMedia>& media)
{
    m_media->setMedia(media);
}

void PostEditor::setSplitPreview(const QStringList& pieces)
{
    m_split->setVisible(pieces.size() > 1);
    if (pieces.size() < 2)
        return;
    m_split->setText(tr("Split into %1 posts").arg(pieces.size()));
    QStringList cuts;
    for (qsizetype i = 0; i < pieces.size(); ++i)
        cuts << tr("%1. %2").arg(i + 1).arg(QFontMetrics(font()).elidedText(pieces[i].simplified(), Qt::ElideRight, 320));
    m_split->setToolTip(cuts.join(QLatin1Char('\n')));
}

void PostEditor::setReordering(bool on)
{
    m_text->setReadOnly(on);
    m_up->setVisible(on);
    m_down->setVisible(on);
}

void PostEditor::setMediaEnabled(bool enabled)
{
    m_addMedia->setEnabled(enabled);
}

QPlainTextEdit* PostEditor::textEdit() const
{
    return m_text;
}

void PostEditor::dragEnterEvent(QDragEnterEvent* event)
{
    if (MediaDrop::carriesMedia(event->mimeData()))
        event->acceptProposedAction();
}

void PostEditor::dropEvent(QDropEvent* event)
{
    const QMimeData* data = event->mimeData();
    if (const QStringList files = MediaDrop::files(data); !files.isEmpty())
        Q_EMIT filesDropped(files);
    else if (data->hasImage())
        Q_EMIT imagePasted(qvariant_cast<QImage>(data->imageData()));
    else
        return;
    event->acceptProposedAction();
}

void PostEditor::setCounts(const Counts& counts)
{
    for (const auto& [platform, label] : std::as_const(m_countLabels))
        delete label;
    m_countLabels.clear();
    m_fitsAll = std::all_of(counts.cbegin(), counts.cend(), [](const auto& entry) { return entry.second.fits(); });
    for (const auto& [platform, count] : counts) {
        auto* label = new QLabel(countText(platform, count), this);
        if (!count.fits()) {
            // The palette's own "bad" colour would be nicer, but Qt has none: a fixed red
            // that reads on light and dark themes alike.
            label->setStyleSheet(QStringLiteral("color: #e0443e; font-weight: 600;"));
            label->setToolTip(tr("Too long for %1").arg(displayName(platform)));
        }
        label->setObjectName(QStringLiteral("count-") + rawValue(platform));
        label->setProperty("tooLong", !count.fits());
        m_countRow->addWidget(label);
        m_countLabels.append({platform, label});
    }
}

QLabel* PostEditor::countLabel(PlatformType platform) const
{
    for (const auto& [known, label] : m_countLabels) {
        if (known == platform)
            return label;
    }
    return nullptr;
}

void PostEditor::focusText()
{
    m_text->setFocus();
    m_text->moveCursor(QTextCursor::End);
}

bool PostEditor::eventFilter(QObject* watched, QEvent* event)
{
    // Ctrl+Return adds the next post right here, as thread editors usually do.
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Up || key->key() == Qt::Key_Down) && key->modifiers() == Qt::AltModifier) {
            Q_EMIT moveRequested(key->key() == Qt::Key_Up ? -1 : +1);
            return true;
        }
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && key->modifiers() == Qt::ControlModifier) {
            Q_EMIT addAfterRequested();
            return true;
        }
    }
    return QFrame::eventFilter(watched, event);
}
