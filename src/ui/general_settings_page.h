#pragma once

#include <QWidget>

class AutostartEntry;
class PreferenceStore;
class QCheckBox;
class UserPrompts;

// General: sounds, the tray's calendar badge, usage statistics and starting at login.
class GeneralSettingsPage : public QWidget {
    Q_OBJECT
public:
    GeneralSettingsPage(PreferenceStore& preferences, AutostartEntry& autostart, UserPrompts& prompts,
                        QWidget* parent = nullptr);

    QCheckBox* startAtLoginBox() const { return m_startAtLogin; }

private:
    void setStartAtLogin(bool enabled);

    AutostartEntry& m_autostart;
    UserPrompts& m_prompts;
    QCheckBox* m_startAtLogin;
};
