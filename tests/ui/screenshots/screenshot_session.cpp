#include "screenshot_session.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPixmap>
#include <QTextStream>
#include <QWidget>

ScreenshotSession::ScreenshotSession(const QString& folder)
    : m_folder(folder)
{
    m_folder.mkpath(QStringLiteral("."));
}

void ScreenshotSession::save(QWidget& widget, const QString& name)
{
    widget.show();
    widget.raise();
    // Debounced recounts and lazy layouts run within a few event-loop turns.
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 300)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    const QString file = m_folder.filePath(name + QStringLiteral(".png"));
    if (!widget.grab().save(file)) {
        QTextStream(stderr) << "could not write " << file << '\n';
        return;
    }
    ++m_saved;
    QTextStream(stdout) << file << '\n';
}
