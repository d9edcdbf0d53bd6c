#include "ui/onboarding_window.h"

#include "core/app_paths.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "events/app_events.h"
#include "ui/settings_form.h"
#include "ui/ui_log.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

// One step: a title, what to do and why, and the buttons that go there.
QWidget* stepPage(const QString& title, const QString& text, const QList<QPushButton*>& actions)
{
    auto* page = new QWidget;
    QVBoxLayout* layout = SettingsForm::pageLayout(page, title, {});
    auto* body = new QLabel(text, page);
    body->setWordWrap(true);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(body);
    auto* row = new QHBoxLayout;
    for (QPushButton* action : actions) {
        action->setParent(page);
        row->addWidget(action);
    }
    row->addStretch();
    layout->addLayout(row);
    layout->addStretch();
    return page;
}

} // namespace

OnboardingWindow::OnboardingWindow(PreferenceStore& preferences, AppEvents& events, const AppPaths& paths,
                                   QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_steps(new QStackedWidget(this))
    , m_progress(new QLabel(this))
    , m_back(new QPushButton(QStringLiteral("Back"), this))
    , m_next(new QPushButton(this))
    , m_skip(new QPushButton(QStringLiteral("Skip"), this))
{
    setWindowTitle(QStringLiteral("Welcome to Quillo"));
    resize(560, 340);
    m_steps->addWidget(accountStep(events));
    m_steps->addWidget(mcpStep(events));
    m_steps->addWidget(scheduleStep(events, paths));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_progress);
    buttons->addStretch();
    buttons->addWidget(m_skip);
    buttons->addWidget(m_back);
    buttons->addWidget(m_next);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_steps, 1);
    layout->addLayout(buttons);
    m_next->setDefault(true);

    connect(m_back, &QPushButton::clicked, this, [this] { showStep(currentStep() - 1); });
    connect(m_next, &QPushButton::clicked, this, &OnboardingWindow::next);
    connect(m_skip, &QPushButton::clicked, this, &OnboardingWindow::finish);
    const int stored = int(preferences.valueOrDefault(PreferenceKeys::OnboardingCurrentStep).toLongLong());
    showStep(stored);
}

QWidget* OnboardingWindow::accountStep(AppEvents& events)
{
    QList<QPushButton*> actions;
    for (const PlatformType platform : allPlatformTypes()) {
        auto* button = new QPushButton(QStringLiteral("Connect %1").arg(displayName(platform)));
        connect(button, &QPushButton::clicked, this, [&events, platform] {
            Q_EMIT events.addAccountRequested(platform, QStringLiteral("social-") + rawValue(platform));
        });
        actions.append(button);
    }
    return stepPage(QStringLiteral("Connect an account"),
                    QStringLiteral("Quillo publishes through your own accounts. Connect at least one: X with your "
                                   "app's keys, BlueSky with an app password, Mastodon by signing in to your instance."),
                    actions);
}

QWidget* OnboardingWindow::mcpStep(AppEvents& events)
{
    auto* button = new QPushButton(QStringLiteral("Open MCP Settings"));
    connect(button, &QPushButton::clicked, this, [&events] { Q_EMIT events.settingsRequested(QStringLiteral("mcp")); });
    return stepPage(QStringLiteral("Enable MCP for your editor"),
                    QStringLiteral("Let an AI assistant in Cursor, Zed, Windsurf or OpenCode draft, schedule and list "
                                   "your posts. Switch the MCP server on and install Quillo into your editor with one "
                                   "click; your editor's file is backed up first."),
                    {button});
}

QWidget* OnboardingWindow::scheduleStep(AppEvents& events, const AppPaths& paths)
{
    auto* button = new QPushButton(QStringLiteral("Open Post Schedule"));
    connect(button, &QPushButton::clicked, this, [&events] { Q_EMIT events.calendarRequested({}, {}, {}); });
    const QString text = QStringLiteral("Scheduled posts wait in the Post Schedule, reachable from the tray icon. Quillo "
                                        "publishes them while it runs, so let it start at login (General settings). "
                                        "Your schedule and accounts are kept in %1; back them up from the Data settings.")
                             .arg(QDir::toNativeSeparators(paths.preferencesFile()));
    return stepPage(QStringLiteral("Where your schedule lives"), text, {button});
}

int OnboardingWindow::currentStep() const
{
    return m_steps->currentIndex();
}

void OnboardingWindow::showStep(int step)
{
    step = std::clamp(step, 0, m_steps->count() - 1);
    m_steps->setCurrentIndex(step);
    const bool last = step == m_steps->count() - 1;
    m_back->setEnabled(step > 0);
    m_next->setText(last ? QStringLiteral("Done") : QStringLiteral("Next"));
    m_skip->setVisible(!last);
    m_progress->setText(QStringLiteral("Step %1 of %2").arg(step + 1).arg(m_steps->count()));
    SettingsForm::store(m_preferences, PreferenceKeys::OnboardingCurrentStep, step);
}

void OnboardingWindow::next()
{
    if (currentStep() == m_steps->count() - 1) {
        finish();
        return;
    }
    showStep(currentStep() + 1);
}

void OnboardingWindow::finish()
{
    SettingsForm::store(m_preferences, PreferenceKeys::OnboardingCompleted, true);
    qCInfo(lcUi).noquote() << QStringLiteral("🎯 Onboarding completed at step %1").arg(currentStep() + 1);
    close();
}
