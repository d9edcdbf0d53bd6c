#pragma once

#include "../ui_stack.h"

#include <QDir>
#include <QString>

class QWidget;

// Writes windows as PNG files into one folder. Each area of the app adds its shots in a
// function of its own (see screenshots_main.cpp), building its windows over `stack()`.
class ScreenshotSession {
public:
    explicit ScreenshotSession(const QString& folder);

    UiStack& stack() { return m_stack; }
    // Shows the widget, lets layouts and deferred work settle, grabs it into <name>.png.
    void save(QWidget& widget, const QString& name);
    int saved() const { return m_saved; }

private:
    UiStack m_stack;
    QDir m_folder;
    int m_saved = 0;
};
