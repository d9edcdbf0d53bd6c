#pragma once

#include <QByteArray>
#include <QProcess>

// An Xvfb of our own on a display it picks itself (-displayfd), stopped by its pid.
// start() is false where Xvfb is not installed; tests skip then.
class Xvfb {
public:
    ~Xvfb();

    bool start(const QString& screen = QStringLiteral("1280x800x24"));
    // ":N", for DISPLAY.
    const QByteArray& display() const { return m_display; }

private:
    QProcess m_process;
    QByteArray m_display;
};
