#include "ui/post_editor.h"

#include <QHBoxLayout>
#include <QKeyEvent>
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
    , m_text(new QPlainTextEdit(this))
    , m_countRow(new QHBoxLayout)
    , m_remove(new QPushButton(tr("Remove"), this))
{
    setFrameShape(QFrame::StyledPanel);
    m_text->setTabChangesFocus(true);
    m_text->setPlaceholderText(tr("What do you want to share?"));
    m_text->setMinimumHeight(90);
    m_text->installEventFilter(this);
    m_remove->setToolTip(tr("Remove this post from the thread"));

    auto* header = new QHBoxLayout;
    header->addWidget(m_number);
    header->addStretch();
    header->addWidget(m_remove);
    m_countRow->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(m_text);
    layout->addLayout(m_countRow);

    connect(m_text, &QPlainTextEdit::textChanged, this, [this] { Q_EMIT textEdited(m_text->toPlainText()); });
    connect(m_remove, &QPushButton::clicked, this, &PostEditor::removeRequested);
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
        m_countRow->insertWidget(m_countRow->count() - 1, label);
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
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && key->modifiers() == Qt::ControlModifier) {
            Q_EMIT addAfterRequested();
            return true;
        }
    }
    return QFrame::eventFilter(watched, event);
}
