#pragma once

#include "media/redaction_editor.h"
#include "model/post_media.h"
#include "ui/media_file_dialogs.h"

#include <QImage>
#include <QWidget>

class QComboBox;
class QLabel;
class QPushButton;
class RedactionCanvas;

// The image redaction tool: rectangles drawn over an image (solid or blurred), moved,
// resized and undone; exported as a new file, or kept on the post so publishing covers them.
class ImageRedactionWindow : public QWidget {
    Q_OBJECT
public:
    ImageRedactionWindow(PostMedia media, MediaFileDialogs dialogs, QWidget* parent = nullptr);

    RedactionEditor& editor() { return m_editor; }
    RedactionCanvas* canvas() const { return m_canvas; }
    QComboBox* styleBox() const { return m_style; }
    QString status() const;
    bool hasImage() const { return !m_image.isNull(); }

    // Asks where to save and writes the image with the rectangles drawn in.
    bool exportToFile();
    // "Use in post": the item with the rectangles; the file itself stays as it is.
    void useInPost();

Q_SIGNALS:
    void mediaEdited(const PostMedia& media);

private:
    QWidget* buildBar();
    void refreshState();
    void setStatus(const QString& text);
    RedactionStyle chosenStyle() const;

    PostMedia m_media;
    MediaFileDialogs m_dialogs;
    RedactionEditor m_editor;
    QImage m_image;
    RedactionCanvas* m_canvas;
    QComboBox* m_style;
    QPushButton* m_delete;
    QPushButton* m_undo;
    QPushButton* m_export;
    QPushButton* m_use;
    QLabel* m_status;
};
