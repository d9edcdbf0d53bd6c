#include "ui/qt_user_prompts.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

QString QtUserPrompts::saveFileName(QWidget* parent, const QString& title, const QString& proposedName)
{
    return QFileDialog::getSaveFileName(parent, title, QDir::home().filePath(proposedName),
                                        QStringLiteral("JSON (*.json)"));
}

QString QtUserPrompts::openFileName(QWidget* parent, const QString& title, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, title, QDir::homePath(), filter);
}

bool QtUserPrompts::confirm(QWidget* parent, const QString& title, const QString& text, const QString& acceptText)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Cancel, parent);
    QPushButton* accept = box.addButton(acceptText, QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == accept;
}

void QtUserPrompts::inform(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox::information(parent, title, text);
}

void QtUserPrompts::warn(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox::warning(parent, title, text);
}
