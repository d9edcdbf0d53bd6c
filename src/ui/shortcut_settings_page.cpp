#include "ui/shortcut_settings_page.h"

#include "desktop/shortcut_manager.h"
#include "ui/settings_form.h"
#include "ui/shortcut_recorder.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ShortcutSettingsPage::ShortcutSettingsPage(ShortcutManager& manager, QWidget* parent)
    : QWidget(parent)
    , m_problem(SettingsForm::statusLine(this))
    , m_reset(new QPushButton(QStringLiteral("Reset to defaults"), this))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("Shortcuts"),
                                     QStringLiteral("Keys that reach Quillo from any application. Click a field, "
                                                    "then press the new combination; Escape cancels."));
    auto* form = new QFormLayout;
    for (const ShortcutAction action : kShortcutActions) {
        auto* recorder = new ShortcutRecorder(manager, action, this);
        m_recorders.insert(action, recorder);
        form->addRow(shortcutActionDisplayName(action) + u':', recorder);
    }
    layout->addLayout(form);
    layout->addWidget(m_problem);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_reset);
    layout->addLayout(buttons);
    layout->addStretch();

    showProblem(manager.registrationProblem());
    connect(&manager, &ShortcutManager::registrationProblemChanged, this, &ShortcutSettingsPage::showProblem);
    connect(m_reset, &QPushButton::clicked, &manager, &ShortcutManager::reset);
}

void ShortcutSettingsPage::showProblem(const QString& message)
{
    SettingsForm::setStatus(m_problem, message, !message.isEmpty());
}
