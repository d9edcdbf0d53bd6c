#pragma once

#include "desktop/shortcut_action.h"

#include <QMap>
#include <QWidget>

class QLabel;
class QPushButton;
class ShortcutManager;
class ShortcutRecorder;

// Shortcuts: a recorder per action, why the system did not take them (when it did not),
// and "Reset to defaults". Changes take effect at once.
class ShortcutSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit ShortcutSettingsPage(ShortcutManager& manager, QWidget* parent = nullptr);

    ShortcutRecorder* recorder(ShortcutAction action) const { return m_recorders.value(action); }
    QLabel* problemLabel() const { return m_problem; }
    QPushButton* resetButton() const { return m_reset; }

private:
    void showProblem(const QString& message);

    QMap<ShortcutAction, ShortcutRecorder*> m_recorders;
    QLabel* m_problem;
    QPushButton* m_reset;
};
