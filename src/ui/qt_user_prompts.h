#pragma once

#include "ui/user_prompts.h"

// The prompts as Qt's file dialogs and message boxes, modal to the window that asks.
class QtUserPrompts : public UserPrompts {
public:
    QString saveFileName(QWidget* parent, const QString& title, const QString& proposedName) override;
    QString openFileName(QWidget* parent, const QString& title, const QString& filter) override;
    bool confirm(QWidget* parent, const QString& title, const QString& text, const QString& acceptText) override;
    void inform(QWidget* parent, const QString& title, const QString& text) override;
    void warn(QWidget* parent, const QString& title, const QString& text) override;
};
