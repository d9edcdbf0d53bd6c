#pragma once

#include <QWidget>

class PreferenceStore;
class QComboBox;

// Composer: automatic splitting of long text and the video export preset for media
// that has none of its own.
class ComposerSettingsPage : public QWidget {
    Q_OBJECT
public:
    explicit ComposerSettingsPage(PreferenceStore& preferences, QWidget* parent = nullptr);

    QComboBox* presetBox() const { return m_preset; }

private:
    QComboBox* m_preset;
};
