#include "ui/general_settings_page.h"

#include "core/preference_keys.h"
#include "core/quillo_error.h"
#include "desktop/autostart_entry.h"
#include "ui/settings_form.h"
#include "ui/user_prompts.h"

#include <QCheckBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

GeneralSettingsPage::GeneralSettingsPage(PreferenceStore& preferences, AutostartEntry& autostart, UserPrompts& prompts,
                                         QWidget* parent)
    : QWidget(parent)
    , m_autostart(autostart)
    , m_prompts(prompts)
    , m_startAtLogin(new QCheckBox(QStringLiteral("Start Quillo at login"), this))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("General"), QStringLiteral("How Quillo behaves on this computer."));
    layout->addWidget(boolSetting(preferences, PreferenceKeys::SoundEnabled, QStringLiteral("Play sounds on posting events"), this));
    layout->addWidget(boolSetting(preferences, PreferenceKeys::ShowCalendarBadge,
                                  QStringLiteral("Display a calendar icon for scheduled posts."), this));
    layout->addWidget(boolSetting(preferences, PreferenceKeys::AnalyticsEnabled,
                                  QStringLiteral("Share anonymous usage statistics"), this));
    layout->addWidget(m_startAtLogin);
    layout->addWidget(caption(QStringLiteral("Quillo publishes scheduled posts only while it runs; starting it at "
                                             "login keeps the schedule going."),
                              this));
    layout->addStretch();

    m_startAtLogin->setChecked(m_autostart.isEnabled());
    connect(m_startAtLogin, &QCheckBox::toggled, this, &GeneralSettingsPage::setStartAtLogin);
}

void GeneralSettingsPage::setStartAtLogin(bool enabled)
{
    try {
        m_autostart.setEnabled(enabled);
    } catch (const QuilloError& error) {
        // The box keeps telling the truth: the entry is as it was.
        const QSignalBlocker blocker(m_startAtLogin);
        m_startAtLogin->setChecked(m_autostart.isEnabled());
        m_prompts.warn(this, QStringLiteral("Start at Login"), error.message());
    }
}
