#pragma once

#include "desktop/shortcut_action.h"

#include <QWidget>

class QLabel;
class QPushButton;
class ShortcutManager;

// The settings' field for one action's shortcut: click it, press the new combination.
// Escape cancels. A refused combination shows its reason under the field and recording
// goes on, so the person can simply try another. While recording, the registered
// shortcuts are suspended, or pressing the current one would fire it instead.
class ShortcutRecorder : public QWidget {
    Q_OBJECT
public:
    ShortcutRecorder(ShortcutManager& manager, ShortcutAction action, QWidget* parent = nullptr);
    ~ShortcutRecorder() override;

    bool isRecording() const { return m_recording; }
    QString errorText() const;

    void startRecording();
    void stopRecording();

protected:
    // event() rather than keyPressEvent(): Tab must reach the recorder, not move the focus.
    bool event(QEvent* event) override;

private:
    void record(Qt::Key key, Qt::KeyboardModifiers modifiers);
    void showError(const QString& message);
    void refresh();

    ShortcutManager& m_manager;
    ShortcutAction m_action;
    QPushButton* m_button;
    QLabel* m_error;
    bool m_recording = false;
};
