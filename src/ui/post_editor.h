#pragma once

#include "model/platform_type.h"
#include "model/post_media.h"
#include "text/character_count.h"

#include <QFrame>
#include <QList>
#include <QPair>

class MediaStrip;
class PostTextEdit;
class QHBoxLayout;
class QImage;
class QLabel;
class QPlainTextEdit;
class QPushButton;

// One post of the thread in the composer: its text, its attachments, its length on each
// selected network (red past that network's limit) and a button to remove it. Media files
// dropped anywhere on it are attached to it.
class PostEditor : public QFrame {
    Q_OBJECT
public:
    using Counts = QList<QPair<PlatformType, CharacterCount>>;

    explicit PostEditor(QWidget* parent = nullptr);

    QString text() const;
    // Leaves the cursor alone when the text is already this one.
    void setText(const QString& text);
    void setPosition(int number, int total);
    void setMedia(const QList<PostMedia>& media);
    // Past the model's limit the button stays, the model says what it replaces.
    void setMediaEnabled(bool enabled);
    // With two or more pieces, offers to split the post there; the tooltip shows the cuts.
    void setSplitPreview(const QStringList& pieces);
    QPushButton* splitButton() const { return m_split; }
    // Reordering: the text is read-only and the move buttons show.
    void setReordering(bool on);
    void setCounts(const Counts& counts);
    // Whether the text fits every network of the last counts.
    bool fitsAll() const { return m_fitsAll; }
    void focusText();
    QPlainTextEdit* textEdit() const;
    PostTextEdit* postTextEdit() const { return m_text; }
    MediaStrip* mediaStrip() const { return m_media; }
    // The label of a network's count, for tests and screenshots.
    QLabel* countLabel(PlatformType platform) const;

Q_SIGNALS:
    void textEdited(const QString& text);
    void removeRequested();
    void addAfterRequested();
    void filesDropped(const QStringList& paths);
    void imagePasted(const QImage& image);
    void addMediaRequested();
    void splitRequested();
    // -1 up, +1 down (Alt+Up, Alt+Down, or the buttons while reordering).
    void moveRequested(int by);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QLabel* m_number;
    PostTextEdit* m_text;
    MediaStrip* m_media;
    QPushButton* m_addMedia;
    QHBoxLayout* m_countRow;
    QList<QPair<PlatformType, QLabel*>> m_countLabels;
    QPushButton* m_remove;
    QPushButton* m_split;
    QPushButton* m_up;
    QPushButton* m_down;
    bool m_fitsAll = true;
};
