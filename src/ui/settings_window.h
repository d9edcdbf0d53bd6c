#pragma once

#include "app/window_host.h"
#include "model/platform_type.h"
#include "ui/settings_section.h"

#include <QWidget>

class AccountSettingsPage;
class AutostartEntry;
class DataSettingsPage;
class EditorConfigInstaller;
class McpSettingsPage;
class QListWidget;
class QStackedWidget;
class ShortcutManager;
class ShortcutSettingsPage;
class UserPrompts;

// The settings: one page per section (general, composer, watermark, the three networks'
// accounts, shortcuts, data, MCP server, about), picked in the sidebar or by name.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    SettingsWindow(const InstanceServices& services, ShortcutManager& shortcuts, EditorConfigInstaller& installer,
                   AutostartEntry& autostart, UserPrompts& prompts, QWidget* parent = nullptr);

    // Shows the named section; an unknown name shows general.
    void showSection(const QString& name);
    void showSection(SettingsSection section);
    SettingsSection currentSection() const;
    void bringToFront();

    // The network's page with its add form in view.
    void showAddAccount(PlatformType platform);
    void prefillMastodonInstance(const QString& instance);
    // Presses the network's connect button, as the person would.
    void pressConnect(PlatformType platform);

    QWidget* page(SettingsSection section) const;
    AccountSettingsPage* accountPage(PlatformType platform) const;
    DataSettingsPage* dataPage() const;
    McpSettingsPage* mcpPage() const;
    ShortcutSettingsPage* shortcutsPage() const;

private:
    void addPage(SettingsSection section, QWidget* page);

    QListWidget* m_sidebar;
    QStackedWidget* m_pages;
};
