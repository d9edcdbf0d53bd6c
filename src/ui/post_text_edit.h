#pragma once

#include <QPlainTextEdit>

#include <functional>

class QImage;

// A post's text field. Files and images that are pasted or dropped on it become
// attachments instead of text, and pasted text goes through the composer's paste rule,
// which may cut it into several posts.
class PostTextEdit : public QPlainTextEdit {
    Q_OBJECT
public:
    // Returns true when it took the text (split into posts); false inserts it as typed.
    using PasteRule = std::function<bool(const QString& text, qsizetype cursor)>;

    explicit PostTextEdit(QWidget* parent = nullptr);
    void setPasteRule(PasteRule rule) { m_pasteRule = std::move(rule); }

Q_SIGNALS:
    void filesDropped(const QStringList& paths);
    void imagePasted(const QImage& image);

protected:
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    PasteRule m_pasteRule;
};
