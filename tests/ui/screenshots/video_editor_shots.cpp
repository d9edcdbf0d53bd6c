#include "screenshot_session.h"
#include "screenshots.h"

#include "media/video_editor_session.h"
#include "support/test_video.h"
#include "ui/image_redaction_window.h"
#include "ui/subtitle_panel.h"
#include "ui/timeline_view.h"
#include "ui/video_editor_window.h"

#include <QFont>
#include <QLabel>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

namespace {

MediaFileDialogs noDialogs()
{
    return {[](QWidget*, const QString&, const QString&) { return QString(); },
            [](QWidget*, const QString&, const QString&, const QString&) { return QString(); }};
}

// A talk of 40 s with a pause every few sentences.
QString sampleVideo(const QTemporaryDir& folder)
{
    const QString path = folder.filePath(QStringLiteral("team-update.mp4"));
    TestVideoOptions options;
    options.width = 640;
    options.height = 360;
    options.seconds = 40;
    options.quiet = {{4.2, 5.4}, {11.0, 12.5}, {19.3, 20.1}, {27.0, 28.8}, {34.5, 35.6}};
    QString error;
    writeTestVideo(path, options, &error);
    return path;
}

// A screenshot of a message with a name and a card number to hide.
QString sampleImage(const QTemporaryDir& folder)
{
    QImage image(1000, 640, QImage::Format_RGB32);
    image.fill(QColor(0xf4, 0xf1, 0xea));
    QPainter painter(&image);
    painter.fillRect(QRect(60, 60, 880, 520), QColor(0xff, 0xff, 0xff));
    painter.setPen(QColor(0x22, 0x22, 0x22));
    QFont font = painter.font();
    font.setPixelSize(34);
    painter.setFont(font);
    painter.drawText(QPoint(100, 140), QStringLiteral("Order confirmation"));
    font.setPixelSize(26);
    painter.setFont(font);
    painter.drawText(QPoint(100, 220), QStringLiteral("Name: Ada Lovelace"));
    painter.drawText(QPoint(100, 280), QStringLiteral("Card: 4242 4242 4242 4242"));
    painter.drawText(QPoint(100, 340), QStringLiteral("Address: 12 St James's Square, London"));
    painter.drawText(QPoint(100, 430), QStringLiteral("Thanks for your order! It ships tomorrow."));
    painter.end();
    const QString path = folder.filePath(QStringLiteral("order.png"));
    image.save(path);
    return path;
}

PostMedia mediaFor(const QString& path, MediaType type)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.type = type;
    media.originalPath = FileUrl::fromLocalFile(path);
    return media;
}

// Waits for the window's background work; says so when it never came.
template<class Ready>
bool settle(Ready ready, const char* what)
{
    if (QTest::qWaitFor(ready, 30000))
        return true;
    QTextStream(stderr) << "video editor shots: " << what << " did not finish\n";
    return false;
}

void addEditorShot(ScreenshotSession& session, const QString& video)
{
    VideoEditorWindow window(mediaFor(video, MediaType::video), session.stack().preferences,
                             QStringLiteral(QUILLO_MEDIA_BINARY), noDialogs());
    QCoro::connect(window.load(), &window, [](bool) {});
    if (!settle([&window] { return window.session().isLoaded(); }, "loading"))
        return;
    QCoro::connect(window.perform(QStringLiteral("detectSilenceAndSplit")), &window, [](bool) {});
    settle([&window] { return !window.session().timeline().isDetectingSilence(); }, "silence detection");
    window.session().setSubtitles({{QUuid::createUuid(), 0.5, 3.8, QStringLiteral("Hi all, a quick update on the launch."), false, {}},
                                   {QUuid::createUuid(), 5.6, 9.9, QStringLiteral("The beta goes out on Monday."), false, {}},
                                   {QUuid::createUuid(), 12.6, 16.0, QStringLiteral("Thanks for all the feedback!"), false, {}}});
    window.seek(7.5);
    settle([&window] { return !window.preview()->pixmap().isNull(); }, "the preview");
    session.save(window, QStringLiteral("video-editor"));
}

void addRedactionShot(ScreenshotSession& session, const QString& image)
{
    ImageRedactionWindow window(mediaFor(image, MediaType::image), noDialogs());
    window.editor().add(QRectF(0.17, 0.39, 0.44, 0.06), RedactionStyle::solid);
    window.editor().add(QRectF(0.09, 0.30, 0.35, 0.06), RedactionStyle::blur);
    session.save(window, QStringLiteral("image-redaction"));
}

} // namespace

void addVideoEditorShots(ScreenshotSession& session)
{
    const QTemporaryDir folder;
    addEditorShot(session, sampleVideo(folder));
    addRedactionShot(session, sampleImage(folder));
}
