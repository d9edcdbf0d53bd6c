#include "ui/settings_window.h"

#include "ui/about_settings_page.h"
#include "ui/account_form.h"
#include "ui/account_settings_page.h"
#include "ui/composer_settings_page.h"
#include "ui/data_settings_page.h"
#include "ui/general_settings_page.h"
#include "ui/mastodon_account_form.h"
#include "ui/mcp_settings_page.h"
#include "ui/shortcut_settings_page.h"
#include "ui/ui_log.h"
#include "ui/watermark_settings_page.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>

SettingsWindow::SettingsWindow(const InstanceServices& services, ShortcutManager& shortcuts,
                               EditorConfigInstaller& installer, AutostartEntry& autostart, UserPrompts& prompts,
                               QWidget* parent)
    : QWidget(parent)
    , m_sidebar(new QListWidget(this))
    , m_pages(new QStackedWidget(this))
{
    setWindowTitle(QStringLiteral("Quillo Settings"));
    resize(920, 620);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_sidebar->setFixedWidth(170);
    m_sidebar->setFrameShape(QFrame::NoFrame);
    m_sidebar->setStyleSheet(QStringLiteral("QListWidget { padding-top: 8px; } QListWidget::item { padding: 5px 12px; }"));
    layout->addWidget(m_sidebar);
    layout->addWidget(m_pages, 1);

    using S = SettingsSection;
    addPage(S::general, new GeneralSettingsPage(services.preferences, autostart, prompts));
    addPage(S::composer, new ComposerSettingsPage(services.preferences));
    addPage(S::watermark, new WatermarkSettingsPage(services.preferences, prompts));
    for (const PlatformType platform : allPlatformTypes())
        addPage(SettingsSections::forPlatform(platform),
                new AccountSettingsPage(platform, services.accounts, services.connectors, prompts));
    addPage(S::shortcuts, new ShortcutSettingsPage(shortcuts));
    addPage(S::data, new DataSettingsPage(services.scheduler, services.accounts, prompts));
    addPage(S::mcp, new McpSettingsPage(services.preferences, installer, prompts));
    addPage(S::about, new AboutSettingsPage(services.paths));
    connect(m_sidebar, &QListWidget::currentRowChanged, m_pages, &QStackedWidget::setCurrentIndex);
    m_sidebar->setCurrentRow(0);
}

void SettingsWindow::addPage(SettingsSection section, QWidget* page)
{
    // Pages grow with their content (many accounts); the window keeps its size.
    auto* scroll = new QScrollArea(m_pages);
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setProperty("section", SettingsSections::name(section));
    m_pages->addWidget(scroll);
    m_sidebar->addItem(SettingsSections::title(section));
}

QWidget* SettingsWindow::page(SettingsSection section) const
{
    auto* scroll = static_cast<QScrollArea*>(m_pages->widget(static_cast<int>(section)));
    return scroll ? scroll->widget() : nullptr;
}

void SettingsWindow::showSection(const QString& name)
{
    const std::optional<SettingsSection> section = SettingsSections::fromName(name);
    if (!section && !name.isEmpty())
        qCInfo(lcUi).noquote() << QStringLiteral("⚠️ Unknown settings section \"%1\"; showing general").arg(name);
    showSection(section.value_or(SettingsSection::general));
}

void SettingsWindow::showSection(SettingsSection section)
{
    m_sidebar->setCurrentRow(static_cast<int>(section));
    qCInfo(lcUi).noquote() << QStringLiteral("⚙️ Settings shown at %1").arg(SettingsSections::name(section));
}

SettingsSection SettingsWindow::currentSection() const
{
    return static_cast<SettingsSection>(m_pages->currentIndex());
}

void SettingsWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
}

void SettingsWindow::showAddAccount(PlatformType platform)
{
    showSection(SettingsSections::forPlatform(platform));
    AccountSettingsPage* accounts = accountPage(platform);
    auto* scroll = static_cast<QScrollArea*>(m_pages->currentWidget());
    scroll->ensureWidgetVisible(accounts->form());
    accounts->form()->setFocus();
}

void SettingsWindow::prefillMastodonInstance(const QString& instance)
{
    if (auto* form = qobject_cast<MastodonAccountForm*>(accountPage(PlatformType::mastodon)->form()))
        form->prefillInstance(instance);
}

void SettingsWindow::pressConnect(PlatformType platform)
{
    AccountForm* form = accountPage(platform)->form();
    if (!form->isBusy())
        form->connectAccount();
}

AccountSettingsPage* SettingsWindow::accountPage(PlatformType platform) const
{
    return static_cast<AccountSettingsPage*>(page(SettingsSections::forPlatform(platform)));
}

DataSettingsPage* SettingsWindow::dataPage() const
{
    return static_cast<DataSettingsPage*>(page(SettingsSection::data));
}

McpSettingsPage* SettingsWindow::mcpPage() const
{
    return static_cast<McpSettingsPage*>(page(SettingsSection::mcp));
}

ShortcutSettingsPage* SettingsWindow::shortcutsPage() const
{
    return static_cast<ShortcutSettingsPage*>(page(SettingsSection::shortcuts));
}
