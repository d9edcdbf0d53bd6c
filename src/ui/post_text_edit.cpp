#include "ui/post_text_edit.h"

#include "ui/media_drop.h"

#include <QImage>
#include <QMimeData>

PostTextEdit::PostTextEdit(QWidget* parent)
    : QPlainTextEdit(parent)
{
}

bool PostTextEdit::canInsertFromMimeData(const QMimeData* source) const
{
    return MediaDrop::carriesMedia(source) || QPlainTextEdit::canInsertFromMimeData(source);
}

void PostTextEdit::insertFromMimeData(const QMimeData* source)
{
    if (const QStringList files = MediaDrop::files(source); !files.isEmpty()) {
        Q_EMIT filesDropped(files);
        return;
    }
    if (source->hasImage()) {
        Q_EMIT imagePasted(qvariant_cast<QImage>(source->imageData()));
        return;
    }
    if (source->hasText() && m_pasteRule && m_pasteRule(source->text(), textCursor().position()))
        return;
    QPlainTextEdit::insertFromMimeData(source);
}
