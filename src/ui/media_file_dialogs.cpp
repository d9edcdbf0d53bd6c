#include "ui/media_file_dialogs.h"

#include <QFileDialog>

MediaFileDialogs MediaFileDialogs::native()
{
    return {[](QWidget* parent, const QString& caption, const QString& filter) {
                return QFileDialog::getOpenFileName(parent, caption, QString(), filter);
            },
            [](QWidget* parent, const QString& caption, const QString& suggestedPath, const QString& filter) {
                return QFileDialog::getSaveFileName(parent, caption, suggestedPath, filter);
            }};
}
