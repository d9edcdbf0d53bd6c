// Media in the composer as a person adds it: pasted from the clipboard, dropped from a
// file manager, picked in the file dialog; alt text typed under the thumbnail.
#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "ui/composer_window.h"
#include "ui/media_strip.h"
#include "ui/post_editor.h"
#include "ui/publish_panel.h"
#include "ui_stack.h"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

class ComposerAttachmentsTest : public ::testing::Test {
protected:
    ComposerAttachmentsTest()
        : storage(stack.preferences)
    {
        stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.example.com"));
        composer = std::make_unique<Composer>(stack.preferences, storage, std::make_unique<QtDebounceTimer>());
        window = std::make_unique<ComposerWindow>(*composer, stack.services(), stack.attacher);
        window->show();
    }

    QString pngFile(const QString& name, QColor colour) const
    {
        QImage image(40, 30, QImage::Format_RGB32);
        image.fill(colour);
        const QString path = stack.home.path() + u'/' + name;
        image.save(path, "PNG");
        return path;
    }

    void dropOn(QWidget* target, const QStringList& files)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& file : files)
            urls << QUrl::fromLocalFile(file);
        data.setUrls(urls);
        QSignalSpy attached(window.get(), &ComposerWindow::mediaAttached);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &enter);
        ASSERT_TRUE(enter.isAccepted()) << "the post takes media files";
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &drop);
        ASSERT_TRUE(!attached.isEmpty() || attached.wait(5000));
    }

    const QList<PostMedia>& media(int post) const { return composer->posts().at(post).mediaItems; }

    UiStack stack;
    PostStorage storage;
    std::unique_ptr<Composer> composer;
    std::unique_ptr<ComposerWindow> window;
};

} // namespace

TEST_F(ComposerAttachmentsTest, PastedImageGetsAThumbnailAndAltTextThatIsKept)
{
    QImage shot(64, 48, QImage::Format_RGB32);
    shot.fill(Qt::darkCyan);
    QGuiApplication::clipboard()->setImage(shot);
    QPlainTextEdit* text = window->editors().at(0)->textEdit();
    text->setFocus();
    QSignalSpy attached(window.get(), &ComposerWindow::mediaAttached);
    QTest::keyClick(text, Qt::Key_V, Qt::ControlModifier);
    ASSERT_TRUE(!attached.isEmpty() || attached.wait(5000));

    ASSERT_EQ(media(0).size(), 1);
    EXPECT_TRUE(text->toPlainText().isEmpty()) << "an image is not pasted as text";
    EXPECT_EQ(QImage(media(0)[0].localFile()).size(), shot.size()) << "stored in the media folder as it was";
    QLineEdit* alt = window->editors().at(0)->mediaStrip()->altTextField(media(0)[0].id);
    ASSERT_NE(alt, nullptr);
    alt->setFocus();
    QTest::keyClicks(alt, QStringLiteral("A teal square"));
    EXPECT_EQ(media(0)[0].altText, QStringLiteral("A teal square"));
    EXPECT_EQ(alt->text(), QStringLiteral("A teal square")) << "typing is not interrupted by the model's echo";
    EXPECT_TRUE(window->postButton()->isEnabled()) << "an image alone is a post";

    window->close();
    composer.reset();
    Composer reopened(stack.preferences, storage, std::make_unique<QtDebounceTimer>());
    ASSERT_EQ(reopened.posts().at(0).mediaItems.size(), 1) << "the draft keeps the attachment";
    EXPECT_EQ(reopened.posts().at(0).mediaItems[0].altText, QStringLiteral("A teal square"));
}

TEST_F(ComposerAttachmentsTest, DroppedAndPickedFilesStayWithinFourAndBadFilesAreNamed)
{
    dropOn(window->editors().at(0), {pngFile(QStringLiteral("a.png"), Qt::red), pngFile(QStringLiteral("b.png"), Qt::green)});
    ASSERT_EQ(media(0).size(), 2);

    const QString notMedia = stack.home.path() + QStringLiteral("/notes.txt");
    QFile(notMedia).open(QIODevice::WriteOnly);
    const QString broken = stack.home.path() + QStringLiteral("/broken.png");
    {
        QFile file(broken);
        file.open(QIODevice::WriteOnly);
        file.write("\x89PNG not really");
    }
    window->setFilePicker([&](QWidget*) {
        return QStringList{pngFile(QStringLiteral("c.png"), Qt::blue), pngFile(QStringLiteral("d.png"), Qt::white),
                           pngFile(QStringLiteral("e.png"), Qt::black)};
    });
    QSignalSpy attached(window.get(), &ComposerWindow::mediaAttached);
    QPushButton* add = window->editors().at(0)->findChild<QPushButton*>();
    for (QPushButton* button : window->editors().at(0)->findChildren<QPushButton*>()) {
        if (button->text() == QStringLiteral("Add Media…"))
            add = button;
    }
    QTest::mouseClick(add, Qt::LeftButton);
    ASSERT_TRUE(!attached.isEmpty() || attached.wait(5000));
    ASSERT_EQ(media(0).size(), 4) << "the newest replace the oldest past four";
    EXPECT_TRUE(media(0)[3].localFile() != media(0)[0].localFile());

    // A text file is not taken on drop at all; a broken image is refused with its name.
    QMimeData textOnly;
    textOnly.setUrls({QUrl::fromLocalFile(notMedia)});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &textOnly, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window->editors().at(0), &enter);
    EXPECT_FALSE(enter.isAccepted());

    window->setFilePicker([&](QWidget*) { return QStringList{broken}; });
    QSignalSpy again(window.get(), &ComposerWindow::mediaAttached);
    QTest::mouseClick(add, Qt::LeftButton);
    ASSERT_TRUE(!again.isEmpty() || again.wait(5000));
    EXPECT_EQ(media(0).size(), 4);
    EXPECT_TRUE(window->publishPanel()->findChild<QLabel*>()->text().contains(QStringLiteral("broken.png")));
}
