#pragma once

#include <QWidget>

class PreferenceStore;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class UserPrompts;
class WatermarkPreview;

// Watermark: the image drawn over published media, its corner, margin and size, with a
// preview of the result.
class WatermarkSettingsPage : public QWidget {
    Q_OBJECT
public:
    WatermarkSettingsPage(PreferenceStore& preferences, UserPrompts& prompts, QWidget* parent = nullptr);

    QComboBox* cornerBox() const { return m_corner; }
    QDoubleSpinBox* marginBox() const { return m_margin; }
    QDoubleSpinBox* sizeBox() const { return m_size; }
    WatermarkPreview* preview() const { return m_preview; }

private:
    void buildControls();
    void bindControls();
    void chooseImage();
    void setImage(const QString& path);
    void refreshPreview();

    PreferenceStore& m_preferences;
    UserPrompts& m_prompts;
    QCheckBox* m_enabled;
    QLabel* m_imagePath;
    QComboBox* m_corner;
    QDoubleSpinBox* m_margin;
    QDoubleSpinBox* m_size;
    WatermarkPreview* m_preview;
};
