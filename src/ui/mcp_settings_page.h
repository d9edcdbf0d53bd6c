#pragma once

#include <QWidget>

class EditorConfigInstaller;
class PreferenceStore;
class QCheckBox;
class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class UserPrompts;
struct EditorInstallResult;
struct MCPEditor;

// MCP Server: the "MCP.Enabled" switch, the configuration snippet to copy, and quick
// actions that write Quillo's entry into Cursor's, Zed's, Windsurf's or OpenCode's
// configuration (merged, after a timestamped backup).
class McpSettingsPage : public QWidget {
    Q_OBJECT
public:
    McpSettingsPage(PreferenceStore& preferences, EditorConfigInstaller& installer, UserPrompts& prompts,
                    QWidget* parent = nullptr);

    QCheckBox* enabledBox() const { return m_enabled; }
    QComboBox* editorBox() const { return m_editor; }
    QPlainTextEdit* snippetView() const { return m_snippet; }
    QPushButton* installButton(const QString& editorName) const;
    QPushButton* chooseFileButton() const;
    QString statusText() const;

private:
    void buildSnippet(QLayout* layout);
    void buildQuickActions(QLayout* layout);
    void showSnippet();
    void copySnippet(const MCPEditor& editor);
    void install(const MCPEditor& editor);
    void installChosen(const MCPEditor& editor);
    void report(const MCPEditor& editor, const EditorInstallResult& result);

    PreferenceStore& m_preferences;
    EditorConfigInstaller& m_installer;
    UserPrompts& m_prompts;
    QCheckBox* m_enabled;
    QComboBox* m_editor;
    QPlainTextEdit* m_snippet;
    QLabel* m_status;
};
