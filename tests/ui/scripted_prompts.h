#pragma once

#include "ui/user_prompts.h"

#include <QStringList>

// Answers the settings' panels and questions from a script and keeps what was shown,
// so tests need no real dialogs.
class ScriptedPrompts : public UserPrompts {
public:
    struct Shown {
        QString kind; // "confirm", "inform" or "warn"
        QString title;
        QString text;
    };

    QString saveFileName(QWidget*, const QString&, const QString& proposedName) override
    {
        proposedNames.append(proposedName);
        return saveAnswer;
    }
    QString openFileName(QWidget*, const QString&, const QString&) override { return openAnswer; }
    bool confirm(QWidget*, const QString& title, const QString& text, const QString&) override
    {
        shown.append({QStringLiteral("confirm"), title, text});
        return confirmAnswer;
    }
    void inform(QWidget*, const QString& title, const QString& text) override
    {
        shown.append({QStringLiteral("inform"), title, text});
    }
    void warn(QWidget*, const QString& title, const QString& text) override
    {
        shown.append({QStringLiteral("warn"), title, text});
    }

    Shown last() const { return shown.isEmpty() ? Shown{} : shown.last(); }

    QString saveAnswer;
    QString openAnswer;
    bool confirmAnswer = true;
    QStringList proposedNames;
    QList<Shown> shown;
};
