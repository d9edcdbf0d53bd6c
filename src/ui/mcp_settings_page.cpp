#include "ui/mcp_settings_page.h"

#include "core/preference_keys.h"
#include "mcp/editor_config_installer.h"
#include "mcp/mcp_editor.h"
#include "ui/settings_form.h"
#include "ui/ui_log.h"
#include "ui/user_prompts.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QString kHelpText = QStringLiteral(
    "We couldn’t complete configuration right now. You can copy the MCP JSON and paste it into your editor’s "
    "settings. When we update a file, changes are merged and a timestamped backup is created first.");

} // namespace

McpSettingsPage::McpSettingsPage(PreferenceStore& preferences, EditorConfigInstaller& installer, UserPrompts& prompts,
                                 QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_installer(installer)
    , m_prompts(prompts)
    , m_enabled(SettingsForm::boolSetting(preferences, PreferenceKeys::MCPEnabled, QStringLiteral("Enable MCP Server"), this))
    , m_editor(new QComboBox(this))
    , m_snippet(new QPlainTextEdit(this))
    , m_status(SettingsForm::statusLine(this))
{
    using namespace SettingsForm;
    QVBoxLayout* layout = pageLayout(this, QStringLiteral("MCP Server"), {});
    layout->addWidget(m_enabled);
    layout->addWidget(caption(QStringLiteral("Allow LLMs to control Quillo via Model Context Protocol"), this));
    // Read by the MCP process at each request, so the switch works without a restart.
    connect(m_enabled, &QCheckBox::toggled, this, [](bool on) {
        qCInfo(lcUi).noquote() << (on ? "🔌 MCP server enabled" : "🔌 MCP server disabled");
    });
    buildSnippet(layout);
    buildQuickActions(layout);
    layout->addWidget(m_status);
    layout->addStretch();
}

void McpSettingsPage::buildSnippet(QLayout* layout)
{
    layout->addWidget(SettingsForm::heading(QStringLiteral("Configuration"), this));
    layout->addWidget(SettingsForm::caption(
        QStringLiteral("Copy the JSON snippet to configure editors or use the quick actions below."), this));
    for (const MCPEditor& editor : MCPEditor::all())
        m_editor->addItem(editor.displayName, editor.shortName);
    auto* copy = new QPushButton(QStringLiteral("Copy"), this);
    auto* row = new QHBoxLayout;
    row->addWidget(m_editor);
    row->addStretch();
    row->addWidget(copy);
    layout->addItem(row);
    m_snippet->setReadOnly(true);
    m_snippet->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_snippet->setMinimumHeight(150);
    layout->addWidget(m_snippet);
    connect(m_editor, &QComboBox::currentIndexChanged, this, &McpSettingsPage::showSnippet);
    connect(copy, &QPushButton::clicked, this, [this] {
        if (const MCPEditor* editor = MCPEditor::find(m_editor->currentData().toString()))
            copySnippet(*editor);
    });
    showSnippet();
}

void McpSettingsPage::buildQuickActions(QLayout* layout)
{
    layout->addWidget(SettingsForm::heading(QStringLiteral("Quick Actions"), this));
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    for (const MCPEditor& editor : MCPEditor::all()) {
        auto* button = new QPushButton(QStringLiteral("Install in %1").arg(editor.displayName), this);
        button->setObjectName(editor.shortName);
        connect(button, &QPushButton::clicked, this, [this, &editor] { install(editor); });
        row->addWidget(button);
    }
    row->addStretch();
    layout->addItem(row);

    // For a project's own config (.cursor/mcp.json, .zed/settings.json, ...) or a file elsewhere.
    auto* choose = new QPushButton(QStringLiteral("Choose Config File…"), this);
    choose->setObjectName(QStringLiteral("chooseConfigFile"));
    auto* chooseRow = new QHBoxLayout;
    chooseRow->addWidget(choose);
    chooseRow->addWidget(SettingsForm::caption(QStringLiteral("for the editor chosen above"), this), 1);
    layout->addItem(chooseRow);
    connect(choose, &QPushButton::clicked, this, [this] {
        if (const MCPEditor* editor = MCPEditor::find(m_editor->currentData().toString()))
            installChosen(*editor);
    });
}

void McpSettingsPage::installChosen(const MCPEditor& editor)
{
    const QString chosen = m_prompts.openFileName(
        this, QStringLiteral("Select your %1 config file, or choose the folder to create").arg(editor.displayName),
        QStringLiteral("JSON (*.json);;All files (*)"));
    if (chosen.isEmpty())
        return;
    report(editor, m_installer.install(editor, chosen));
}

QPushButton* McpSettingsPage::installButton(const QString& editorName) const
{
    const MCPEditor* editor = MCPEditor::find(editorName);
    return editor ? findChild<QPushButton*>(editor->shortName) : nullptr;
}

QPushButton* McpSettingsPage::chooseFileButton() const
{
    return findChild<QPushButton*>(QStringLiteral("chooseConfigFile"));
}

QString McpSettingsPage::statusText() const
{
    return m_status->text();
}

void McpSettingsPage::showSnippet()
{
    if (const MCPEditor* editor = MCPEditor::find(m_editor->currentData().toString()))
        m_snippet->setPlainText(m_installer.snippetText(*editor));
}

void McpSettingsPage::copySnippet(const MCPEditor& editor)
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_installer.snippetText(editor));
    SettingsForm::setStatus(m_status, QStringLiteral("Copied the %1 configuration.").arg(editor.displayName));
}

void McpSettingsPage::install(const MCPEditor& editor)
{
    report(editor, m_installer.install(editor));
}

void McpSettingsPage::report(const MCPEditor& editor, const EditorInstallResult& result)
{
    qCInfo(lcUi).noquote() << QStringLiteral("🔌 %1 MCP install: %2 %3").arg(editor.displayName, result.status, result.path);
    const QString title = editor.displayName + QStringLiteral(" MCP Config");
    if (result.ok) {
        const QString backup = result.backupPath.isEmpty() ? QString() : QStringLiteral("\n\nBackup: ") + result.backupPath;
        SettingsForm::setStatus(m_status, result.message);
        m_prompts.inform(this, title, result.message + backup);
        return;
    }
    if (result.status == QStringLiteral("cancelled"))
        return;
    if (result.status == QStringLiteral("invalid_location")) {
        const QString text = QStringLiteral("Add Quillo MCP to %1 by hand, or save the file where %1 reads it.\n\n%2")
                                 .arg(editor.displayName, result.message);
        if (m_prompts.confirm(this, QStringLiteral("Unsupported Location"), text, QStringLiteral("Copy config")))
            copySnippet(editor);
        return;
    }
    SettingsForm::setStatus(m_status, result.message, true);
    m_prompts.warn(this, title, result.message + QStringLiteral("\n\n") + kHelpText);
}
