// quillo-screenshots <folder> [--dark]: draws every window with sample content and saves
// each as a PNG, in the system palette or a dark one. scripts/take-screenshots.sh runs it
// under Xvfb for both.
#include "screenshot_session.h"
#include "screenshots.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>
#include <QTextStream>

namespace {

QPalette darkPalette()
{
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1e, 0x1e, 0x20);
    const QColor text(0xe8, 0xe8, 0xea);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x7e, 0xdb));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6c, 0xa8, 0xff));
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8a, 0x90));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x7a, 0x7a, 0x80));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x7a, 0x7a, 0x80));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x7a, 0x7a, 0x80));
    return palette;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.size() < 2) {
        QTextStream(stderr) << "usage: quillo-screenshots <folder> [--dark]\n";
        return 2;
    }
    if (args.contains(QStringLiteral("--dark"))) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
        QApplication::setPalette(darkPalette());
    }
    ScreenshotSession session(args.at(1));
    addComposerShots(session);
    addVideoEditorShots(session);
    addSettingsShots(session);
    addCalendarShots(session);
    return session.saved() > 0 ? 0 : 1;
}
