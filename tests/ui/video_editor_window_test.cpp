// The video editor and the redaction tool driven through the desktop windows, offscreen,
// over clips made at test time and the real media worker.
#include "compose/composer.h"
#include "media/video_editor_session.h"
#include "ui/composer_window.h"
#include "ui/desktop_windows.h"
#include "ui/image_redaction_window.h"
#include "ui/redaction_canvas.h"
#include "ui/redaction_renderer.h"
#include "ui/subtitle_panel.h"
#include "ui/timeline_view.h"
#include "ui/tray_controller.h"
#include "ui/video_editor_window.h"
#include "support/test_video.h"
#include "ui_stack.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr double kSeconds = 6;

double kept(const QList<ClipSegment>& clips)
{
    double total = 0;
    for (const ClipSegment& clip : clips)
        total += clip.duration();
    return total;
}

double probedDuration(const QString& path)
{
    QProcess worker;
    worker.start(QStringLiteral(QUILLO_MEDIA_BINARY), {QStringLiteral("probe"), path});
    worker.waitForFinished(30000);
    const Json answer = Json::parse(worker.readAllStandardOutput().trimmed().toStdString(), nullptr, false);
    return answer.is_object() && answer.contains("duration") ? answer["duration"].get<double>() : -1;
}

void clickButton(QWidget* window, const QString& text)
{
    for (QPushButton* button : window->findChildren<QPushButton*>()) {
        if (button->text() == text)
            button->click();
    }
}

class VideoEditorWindowTest : public ::testing::Test {
protected:
    VideoEditorWindowTest()
        : windows(stack.services())
    {
        windows.setMediaWorkerPath(QStringLiteral(QUILLO_MEDIA_BINARY));
        windows.setMediaFileDialogs({[this](QWidget*, const QString&, const QString&) { return openAnswer; },
                                     [this](QWidget*, const QString&, const QString& suggested, const QString&) {
                                         suggestions.append(suggested);
                                         return saveAnswer;
                                     }});
        video = folder.filePath(QStringLiteral("talk.mp4"));
        TestVideoOptions options;
        options.seconds = kSeconds;
        options.quiet = {{2.0, 3.0}, {4.0, 5.0}};
        QString error;
        EXPECT_TRUE(writeTestVideo(video, options, &error)) << error.toStdString();
        media.id = QUuid::createUuid();
        media.type = MediaType::video;
        media.originalPath = FileUrl::fromLocalFile(video);
    }

    // The editors delete themselves once closed; none outlives its test.
    ~VideoEditorWindowTest() override
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (qobject_cast<VideoEditorWindow*>(widget) || qobject_cast<ImageRedactionWindow*>(widget))
                widget->close();
        }
        QTest::qWait(50);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    VideoEditorWindow* open()
    {
        VideoEditorWindow* window = windows.openVideoEditor(media, [this](const PostMedia& item) { edited = item; });
        EXPECT_TRUE(QTest::qWaitFor([window] { return window->session().isLoaded(); }, 30000));
        return window;
    }

    bool run(VideoEditorWindow* window, const QString& label)
    {
        window->action(label)->trigger();
        return QTest::qWaitFor([window] { return !window->session().timeline().isDetectingSilence(); }, 30000);
    }

    UiStack stack;
    DesktopWindows windows;
    QTemporaryDir folder;
    QString video;
    PostMedia media;
    std::optional<PostMedia> edited;
    QString openAnswer;
    QString saveAnswer;
    QStringList suggestions;
};

TEST_F(VideoEditorWindowTest, SplitsRemovesSilencesKeepsHistoryAndUndoesBackToTheStart)
{
    VideoEditorWindow* window = open();
    TimelineEditor& timeline = window->session().timeline();
    ASSERT_EQ(timeline.clips().size(), 1);
    const QList<ClipSegment> start = timeline.clips();
    EXPECT_TRUE(QTest::qWaitFor([window] { return !window->preview()->pixmap().isNull(); }, 20000))
        << "the worker's picture never reached the preview";

    window->seek(1.0);
    ASSERT_TRUE(run(window, QStringLiteral("Split at current time")));
    ASSERT_EQ(timeline.clips().size(), 2);
    EXPECT_DOUBLE_EQ(timeline.clips()[0].end, 1.0);

    ASSERT_TRUE(run(window, QStringLiteral("Auto-split at silence")));
    ASSERT_EQ(timeline.displaySilences().size(), 2u);
    EXPECT_NEAR(timeline.displaySilences()[0].start, 2.0, 0.1);
    EXPECT_NEAR(timeline.displaySilences()[1].end, 5.0, 0.1);
    EXPECT_EQ(timeline.clips().size(), 6) << "the tone stretches and both silences become clips of their own";

    // Unmarking the second silence from the clip menu keeps it on removal.
    const double secondSilence = timeline.displaySilences()[1].centre();
    QMenu* menu = window->timelineView()->clipMenu(secondSilence);
    QStringList labels;
    for (QAction* entry : menu->actions())
        labels.append(entry->text());
    EXPECT_TRUE(labels.contains(QStringLiteral("Merge Left")) && labels.contains(QStringLiteral("Unmark Silence")));
    for (QAction* entry : menu->actions()) {
        if (entry->text() == QStringLiteral("Unmark Silence"))
            entry->trigger();
    }
    delete menu;
    ASSERT_TRUE(run(window, QStringLiteral("Remove detected silences")));
    EXPECT_NEAR(kept(timeline.clips()), kSeconds - 1.0, 0.15) << "only the marked silence is cut out";
    for (const ClipSegment& clip : timeline.clips())
        EXPECT_FALSE(clip.start < 2.5 && clip.end > 2.5) << "a clip still spans the removed silence";

    // The history is kept per file: a new window over the same video starts where this one ended.
    const QList<ClipSegment> last = timeline.clips();
    window->close();
    VideoEditorWindow* again = open();
    EXPECT_EQ(again->session().timeline().clips(), last);
    int undos = 0;
    while (again->session().timeline().canUndo() && undos < 20) {
        again->action(QStringLiteral("Undo"))->trigger();
        ++undos;
    }
    EXPECT_EQ(undos, 3);
    EXPECT_EQ(again->session().timeline().clips(), start);

    clickButton(again, QStringLiteral("Use in post"));
    ASSERT_TRUE(edited.has_value());
    EXPECT_FALSE(edited->trimClips.has_value()) << "the whole video needs no trim clips";
    EXPECT_EQ(edited->renderedExportPreset, rawValue(kDefaultVideoExportPreset));
}

TEST_F(VideoEditorWindowTest, ZoomAndPanelWidthAreRemembered)
{
    VideoEditorWindow* window = open();
    window->action(QStringLiteral("Zoom in"))->trigger();
    window->action(QStringLiteral("Zoom in"))->trigger();
    EXPECT_EQ(window->zoomReadout()->text(), QStringLiteral("2.25x"));
    for (int i = 0; i < 5; ++i)
        window->action(QStringLiteral("Zoom out"))->trigger();
    EXPECT_EQ(window->zoomReadout()->text(), QStringLiteral("1.00x")) << "zoom stops at the whole video";
    window->action(QStringLiteral("Zoom in"))->trigger();
    window->close();
    VideoEditorWindow* again = open();
    EXPECT_EQ(again->zoomReadout()->text(), QStringLiteral("1.50x"));
    EXPECT_EQ(stack.preferences.doubleValue(QStringLiteral("VideoEditor.timelineZoom")), 1.5);
}

TEST_F(VideoEditorWindowTest, ExportsTheKeptClipsWithAPresetAndReportsAFailedSave)
{
    VideoEditorWindow* window = open();
    ASSERT_TRUE(run(window, QStringLiteral("Remove detected silences")));
    const double keptSeconds = kept(window->session().timeline().clips());
    ASSERT_LT(keptSeconds, kSeconds - 1.5) << "both quiet seconds are mostly cut out";
    window->presetBox()->setCurrentIndex(int(VideoEditorSession::presets().indexOf(VideoExportPreset::socialMedia)));

    // A caption at 0.5 s, burned in: the export goes through the subtitle renderer too.
    window->seek(0.5);
    SubtitlePanel* captions = window->subtitlePanel();
    captions->addAtPlayhead();
    ASSERT_EQ(captions->table()->rowCount(), 1);
    captions->table()->item(0, 2)->setText(QStringLiteral("Hello there"));
    ASSERT_EQ(window->session().subtitles().size(), 1);
    EXPECT_EQ(window->session().subtitles()[0].text, QStringLiteral("Hello there"));
    window->session().setBurnsSubtitles(true);

    saveAnswer = folder.filePath(QStringLiteral("out.mp4"));
    QSignalSpy finished(window, &VideoEditorWindow::exportFinished);
    QCoro::connect(window->exportToFile(), window, [](bool) {});
    ASSERT_TRUE(!finished.isEmpty() || finished.wait(120000));
    EXPECT_TRUE(finished.first().first().toBool()) << window->status().toStdString();
    ASSERT_EQ(suggestions.size(), 1);
    EXPECT_TRUE(suggestions[0].endsWith(QStringLiteral("talk-social.mp4"))) << suggestions[0].toStdString();
    EXPECT_NEAR(probedDuration(saveAnswer), keptSeconds, 0.15);

    saveAnswer = folder.filePath(QStringLiteral("missing/folder/out.mp4"));
    QSignalSpy failed(window, &VideoEditorWindow::exportFinished);
    QCoro::connect(window->exportToFile(), window, [](bool) {});
    ASSERT_TRUE(!failed.isEmpty() || failed.wait(120000));
    EXPECT_FALSE(failed.first().first().toBool());
    EXPECT_EQ(window->status(), QStringLiteral("Failed to save video"));
    EXPECT_EQ(window->session().timeline().undoStack().size(), 1) << "a failed save leaves the edits alone";
}

TEST_F(VideoEditorWindowTest, SubtitlesSplitShiftAndRoundTripThroughSrt)
{
    VideoEditorWindow* window = open();
    SubtitlePanel* captions = window->subtitlePanel();
    window->seek(1.0);
    captions->addAtPlayhead();
    captions->table()->item(0, 2)->setText(QStringLiteral("Two words"));
    captions->addAtPlayhead();
    EXPECT_FALSE(captions->status().isEmpty()) << "a second caption at the same time is refused";
    captions->table()->selectRow(0);
    window->seek(2.0);
    captions->splitSelected();
    ASSERT_EQ(window->session().subtitles().size(), 2);
    EXPECT_DOUBLE_EQ(window->session().subtitles()[1].start, 2.0);
    captions->shiftAll(-1.95);
    ASSERT_EQ(window->session().subtitles().size(), 1) << "the caption pushed before the start is dropped";
    EXPECT_NEAR(window->session().subtitles()[0].start, 0.05, 1e-9);

    captions->table()->item(0, 0)->setText(QStringLiteral("later"));
    EXPECT_NEAR(window->session().subtitles()[0].start, 0.05, 1e-9) << "a time that is not a number is refused";

    const QString srt = folder.filePath(QStringLiteral("captions.srt"));
    ASSERT_TRUE(captions->exportSrt(srt));
    window->session().setSubtitles({});
    ASSERT_TRUE(captions->importSrt(srt));
    ASSERT_EQ(window->session().subtitles().size(), 1);
    EXPECT_EQ(window->session().subtitles()[0].text, QStringLiteral("Two words"));
    EXPECT_NEAR(window->session().subtitles()[0].end, 1.05, 0.001);
    QFile broken(folder.filePath(QStringLiteral("broken.srt")));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("1\nnot a time\nHello\n");
    broken.close();
    EXPECT_FALSE(captions->importSrt(broken.fileName()));
    EXPECT_EQ(window->session().subtitles().size(), 1) << "a bad file loses nothing";
}

TEST_F(VideoEditorWindowTest, TrayEntryOpensAPickedVideoAndUseInPostAttachesIt)
{
    QAction* entry = nullptr;
    for (QAction* action : windows.tray().menu()->actions()) {
        if (action->text() == QStringLiteral("Edit Video…"))
            entry = action;
    }
    ASSERT_NE(entry, nullptr);
    openAnswer = video;
    entry->trigger();
    VideoEditorWindow* window = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* editor = qobject_cast<VideoEditorWindow*>(widget); editor && editor->isVisible())
            window = editor;
    }
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([window] { return window->session().isLoaded(); }, 30000));
    window->seek(3.0);
    window->action(QStringLiteral("Split at current time"))->trigger();
    window->action(QStringLiteral("Earlier (−0.1s)"))->trigger();
    EXPECT_NEAR(window->session().timeline().clips()[1].start, 2.9, 1e-9);
    clickButton(window, QStringLiteral("Use in post"));
    const QList<Post>& posts = windows.composerModel().posts();
    ASSERT_FALSE(posts.constLast().mediaItems.isEmpty());
    const PostMedia attached = posts.constLast().mediaItems.constLast();
    ASSERT_TRUE(attached.trimClips.has_value());
    EXPECT_EQ(attached.trimClips->size(), 2);
    EXPECT_TRUE(attached.localFile().startsWith(stack.paths.mediaDir())) << "the post owns a copy of the file";
    EXPECT_TRUE(QFile::exists(attached.localFile()));
}

TEST_F(VideoEditorWindowTest, EditVideoInTheComposerEditsThatAttachmentInPlace)
{
    Composer& composer = windows.composerModel();
    composer.setPosts({Post::create(QStringLiteral("Talk"), {media})});
    ComposerWindow& window = windows.composer();
    QPushButton* edit = nullptr;
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        if (button->text() == QStringLiteral("Edit video"))
            edit = button;
    }
    ASSERT_NE(edit, nullptr);
    QTest::mouseClick(edit, Qt::LeftButton);
    VideoEditorWindow* editor = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* candidate = qobject_cast<VideoEditorWindow*>(widget); candidate && candidate->isVisible())
            editor = candidate;
    }
    ASSERT_NE(editor, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([editor] { return editor->session().isLoaded(); }, 30000));
    editor->seek(3.0);
    editor->action(QStringLiteral("Split at current time"))->trigger();
    clickButton(editor, QStringLiteral("Use in post"));
    ASSERT_EQ(composer.posts().size(), 1);
    ASSERT_EQ(composer.posts()[0].mediaItems.size(), 1) << "edited in place, not attached again";
    const PostMedia& kept = composer.posts()[0].mediaItems[0];
    EXPECT_EQ(kept.id, media.id);
    ASSERT_TRUE(kept.trimClips.has_value());
    EXPECT_EQ(kept.trimClips->size(), 2);
}

TEST_F(VideoEditorWindowTest, RedactionCoversPixelsOnExportAndKeepsRectanglesOnThePost)
{
    QImage picture(400, 300, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, ((x / 2 + y / 2) % 2) ? qRgb(250, 240, 10) : qRgb(10, 20, 200));
    }
    const QString source = folder.filePath(QStringLiteral("card.png"));
    ASSERT_TRUE(picture.save(source));
    PostMedia image;
    image.id = QUuid::createUuid();
    image.originalPath = FileUrl::fromLocalFile(source);
    ImageRedactionWindow* window = windows.openImageRedaction(image, [this](const PostMedia& item) { edited = item; });
    ASSERT_TRUE(window->hasImage());
    RedactionCanvas* canvas = window->canvas();
    canvas->resize(800, 600);
    const QRectF area = canvas->imageArea();
    const auto at = [&area](double fx, double fy) {
        return QPoint(int(area.left() + fx * area.width()), int(area.top() + fy * area.height()));
    };

    // Draw, then move it by dragging, then undo the move.
    QTest::mousePress(canvas, Qt::LeftButton, {}, at(0.1, 0.1));
    QTest::mouseMove(canvas, at(0.3, 0.3));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(0.3, 0.3));
    ASSERT_EQ(window->editor().shapes().size(), 1);
    QTest::mousePress(canvas, Qt::LeftButton, {}, at(0.2, 0.2));
    QTest::mouseMove(canvas, at(0.25, 0.2));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(0.25, 0.2));
    EXPECT_NEAR(window->editor().shapes()[0].rect.left(), 0.15, 0.01);
    ASSERT_TRUE(window->editor().undo());
    EXPECT_NEAR(window->editor().shapes()[0].rect.left(), 0.1, 0.01);
    ASSERT_TRUE(window->editor().undo());
    EXPECT_TRUE(window->editor().shapes().isEmpty()) << "drawing is one undo step";
    window->editor().add(QRectF(0.1, 0.1, 0.2, 0.2), RedactionStyle::solid);

    // A blurred one (the style box restyles the selected rectangle, so none is), then resized
    // from its corner handle.
    window->editor().select(std::nullopt);
    window->styleBox()->setCurrentIndex(1);
    EXPECT_EQ(window->editor().shapes()[0].style, RedactionStyle::solid);
    QTest::mousePress(canvas, Qt::LeftButton, {}, at(0.5, 0.5));
    QTest::mouseMove(canvas, at(0.7, 0.7));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(0.7, 0.7));
    ASSERT_EQ(window->editor().shapes().size(), 2);
    EXPECT_EQ(window->editor().shapes()[1].style, RedactionStyle::blur);
    QTest::mousePress(canvas, Qt::LeftButton, {}, at(0.7, 0.7));
    QTest::mouseMove(canvas, at(0.9, 0.9));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(0.9, 0.9));
    EXPECT_NEAR(window->editor().shapes()[1].rect.right(), 0.9, 0.01);

    saveAnswer = folder.filePath(QStringLiteral("card-redacted.png"));
    ASSERT_TRUE(window->exportToFile());
    EXPECT_TRUE(suggestions.constLast().endsWith(QStringLiteral("card-redacted.png")));
    const QImage out(saveAnswer);
    ASSERT_EQ(out.size(), picture.size());
    const QRect solid = RedactionRenderer::pixelRect(window->editor().shapes()[0].rect, picture.size());
    const QRect blur = RedactionRenderer::pixelRect(window->editor().shapes()[1].rect, picture.size());
    EXPECT_EQ(solid, QRect(40, 30, 80, 60));
    int blurChanged = 0;
    int outsideChanged = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const bool changed = out.pixel(x, y) != picture.pixel(x, y);
            if (solid.contains(x, y))
                EXPECT_EQ(out.pixel(x, y), qRgb(0, 0, 0)) << x << "," << y;
            else if (blur.contains(x, y))
                blurChanged += changed;
            else
                outsideChanged += changed;
        }
    }
    EXPECT_GT(blurChanged, blur.width() * blur.height() * 9 / 10) << "the blurred area no longer holds the pattern";
    EXPECT_EQ(outsideChanged, 0);

    window->useInPost();
    ASSERT_TRUE(edited.has_value());
    ASSERT_EQ(edited->redactions.size(), 2);
    EXPECT_NEAR(edited->redactions[1].width, 0.4, 0.01);
    EXPECT_TRUE(QImage(source) == picture) << "the original file is never changed";
}

} // namespace
