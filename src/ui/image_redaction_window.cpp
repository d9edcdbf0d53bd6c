#include "ui/image_redaction_window.h"

#include "ui/redaction_canvas.h"
#include "ui/redaction_renderer.h"
#include "ui/ui_log.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageWriter>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

ImageRedactionWindow::ImageRedactionWindow(PostMedia media, MediaFileDialogs dialogs, QWidget* parent)
    : QWidget(parent)
    , m_media(std::move(media))
    , m_dialogs(std::move(dialogs))
    , m_editor(m_media.redactions)
    , m_canvas(new RedactionCanvas(m_editor, this))
    , m_status(new QLabel(this))
{
    setWindowTitle(tr("Redact Image — %1").arg(QFileInfo(m_media.localFile()).fileName()));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildBar());
    layout->addWidget(m_canvas, 1);
    layout->addWidget(m_status);
    QString error;
    m_image = RedactionRenderer::readUpright(m_media.localFile(), &error);
    if (m_image.isNull()) {
        setStatus(tr("%1 cannot be opened as an image: %2").arg(QFileInfo(m_media.localFile()).fileName(), error));
        qCWarning(lcUi).noquote() << "❌ Redaction tool could not read" << m_media.localFile() << error;
    } else {
        m_canvas->setImage(m_image);
        setStatus(tr("Drag over the image to cover a part of it; drag a rectangle to move it, its corner to resize it."));
    }
    auto* undo = new QShortcut(QKeySequence::Undo, this);
    connect(undo, &QShortcut::activated, &m_editor, &RedactionEditor::undo);
    connect(&m_editor, &RedactionEditor::changed, this, &ImageRedactionWindow::refreshState);
    resize(980, 720);
    refreshState();
}

QWidget* ImageRedactionWindow::buildBar()
{
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    m_style = new QComboBox(bar);
    m_style->addItem(tr("Solid"), int(RedactionStyle::solid));
    m_style->addItem(tr("Blur"), int(RedactionStyle::blur));
    m_delete = new QPushButton(tr("Delete"), bar);
    m_undo = new QPushButton(tr("Undo"), bar);
    m_export = new QPushButton(tr("Export…"), bar);
    m_use = new QPushButton(tr("Use in post"), bar);
    // The post keeps the rectangles' places only; publishing covers every one in black.
    m_use->setToolTip(tr("Attach the image with these rectangles; publishing covers or blurs each as drawn."));
    layout->addWidget(new QLabel(tr("Cover with:"), bar));
    layout->addWidget(m_style);
    layout->addWidget(m_delete);
    layout->addWidget(m_undo);
    layout->addStretch(1);
    layout->addWidget(m_export);
    layout->addWidget(m_use);
    connect(m_style, &QComboBox::currentIndexChanged, this, [this] {
        m_canvas->setNewStyle(chosenStyle());
        if (const auto selected = m_editor.selected())
            m_editor.setStyle(*selected, chosenStyle());
    });
    connect(m_delete, &QPushButton::clicked, this, [this] {
        if (const auto selected = m_editor.selected())
            m_editor.remove(*selected);
    });
    connect(m_undo, &QPushButton::clicked, &m_editor, &RedactionEditor::undo);
    connect(m_export, &QPushButton::clicked, this, &ImageRedactionWindow::exportToFile);
    connect(m_use, &QPushButton::clicked, this, &ImageRedactionWindow::useInPost);
    return bar;
}

RedactionStyle ImageRedactionWindow::chosenStyle() const
{
    return RedactionStyle(m_style->currentData().toInt());
}

void ImageRedactionWindow::refreshState()
{
    const bool loaded = hasImage();
    const auto selected = m_editor.selected();
    m_delete->setEnabled(loaded && selected.has_value());
    m_undo->setEnabled(loaded && m_editor.canUndo());
    m_export->setEnabled(loaded);
    m_use->setEnabled(loaded);
    if (selected) {
        const QSignalBlocker blocker(m_style);
        m_style->setCurrentIndex(m_editor.shapes()[*selected].style == RedactionStyle::blur ? 1 : 0);
    }
}

QString ImageRedactionWindow::status() const
{
    return m_status->text();
}

void ImageRedactionWindow::setStatus(const QString& text)
{
    m_status->setText(text);
}

bool ImageRedactionWindow::exportToFile()
{
    if (!hasImage())
        return false;
    const QFileInfo source(m_media.localFile());
    const QString extension = source.suffix().compare(QStringLiteral("png"), Qt::CaseInsensitive) == 0
        ? QStringLiteral("png")
        : QStringLiteral("jpg");
    const QString suggested = source.dir().filePath(source.completeBaseName() + QStringLiteral("-redacted.") + extension);
    const QString destination = m_dialogs.saveFile(this, tr("Export Image"), suggested, tr("Images (*.png *.jpg *.jpeg)"));
    if (destination.isEmpty())
        return false;
    QImageWriter writer(destination);
    writer.setQuality(92);
    const QImage rendered = RedactionRenderer::render(m_image, m_editor.shapes()).convertToFormat(QImage::Format_RGB32);
    if (!writer.write(rendered)) {
        setStatus(tr("Failed to save image"));
        qCWarning(lcUi).noquote() << "❌ Failed to save image:" << destination << writer.errorString();
        auto* box = new QMessageBox(QMessageBox::Warning, tr("Export"), tr("Failed to save image"), QMessageBox::Ok, this);
        box->setInformativeText(writer.errorString());
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->show();
        return false;
    }
    setStatus(tr("Saved %1.").arg(QFileInfo(destination).fileName()));
    qCInfo(lcUi).noquote() << QStringLiteral("✅ Redacted image saved with %1 rectangle(s) to %2")
                                  .arg(m_editor.shapes().size())
                                  .arg(destination);
    return true;
}

void ImageRedactionWindow::useInPost()
{
    PostMedia edited = m_media;
    edited.redactions = m_editor.redactionRects();
    qCInfo(lcUi).noquote() << QStringLiteral("📎 Redactions kept on the post: %1 rectangle(s)").arg(edited.redactions.size());
    Q_EMIT mediaEdited(edited);
    close();
}
