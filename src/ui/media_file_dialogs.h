#pragma once

#include <QString>

#include <functional>

class QWidget;

// The open and save dialogs of the media editors, injectable so tests answer them without
// a real dialog. An empty answer means the person cancelled.
struct MediaFileDialogs {
    std::function<QString(QWidget* parent, const QString& caption, const QString& filter)> openFile;
    std::function<QString(QWidget* parent, const QString& caption, const QString& suggestedPath, const QString& filter)>
        saveFile;

    static MediaFileDialogs native();
};
