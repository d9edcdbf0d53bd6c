#pragma once

#include <QString>

class QWidget;

// The file panels and questions the settings ask, behind one seam: the desktop shows Qt's
// dialogs, tests answer from a script and read what was shown.
class UserPrompts {
public:
    virtual ~UserPrompts() = default;

    // A file to write, proposing `proposedName`; empty when cancelled.
    virtual QString saveFileName(QWidget* parent, const QString& title, const QString& proposedName) = 0;
    // A file to read; empty when cancelled.
    virtual QString openFileName(QWidget* parent, const QString& title, const QString& filter) = 0;
    // A question with an accept button named `acceptText`; true when accepted.
    virtual bool confirm(QWidget* parent, const QString& title, const QString& text, const QString& acceptText) = 0;
    // A notice (success) or an alert (failure), acknowledged with OK.
    virtual void inform(QWidget* parent, const QString& title, const QString& text) = 0;
    virtual void warn(QWidget* parent, const QString& title, const QString& text) = 0;
};
