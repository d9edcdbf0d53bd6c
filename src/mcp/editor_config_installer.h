#pragma once

#include "mcp/any_codable.h"
#include "mcp/mcp_editor.h"

#include <QString>

#include <optional>

class Clock;
class PreferenceStore;

struct EditorInstallResult {
    // "found_existing", "bookmark", "user_selected", "cancelled", "not_found" or "invalid_location".
    QString status;
    QString path;
    QString message;
    QString backupPath;
    bool ok = false;
};

// Writes Quillo's MCP server entry into an editor's configuration file: finds the file
// (a remembered path, then the editor's default), backs it up, merges the "quillo"
// entry in and keeps everything else. Used by the command line and the settings window.
class EditorConfigInstaller {
public:
    EditorConfigInstaller(PreferenceStore& preferences, QString executablePath, QString homeDir, const Clock& clock);

    Json snippet(const MCPEditor& editor) const;
    // The snippet as text with two-space indentation.
    QString snippetText(const MCPEditor& editor) const;

    // chosenPath stands for a file or folder the user picked; without it the remembered
    // file or the editor's default location is used.
    EditorInstallResult install(const MCPEditor& editor, const std::optional<QString>& chosenPath = std::nullopt);

    static QString bookmarkKey(const MCPEditor& editor);

private:
    Json serverEntry(const MCPEditor& editor) const;
    std::optional<QString> rememberedFile(const MCPEditor& editor);
    QString defaultFile(const MCPEditor& editor) const;
    QStringList expectedFolders(const MCPEditor& editor) const;
    bool isSupportedLocation(const MCPEditor& editor, const QString& file) const;
    EditorInstallResult write(const MCPEditor& editor, const QString& file, const QString& status);
    QString makeBackup(const QString& file) const;

    PreferenceStore& m_preferences;
    QString m_executable;
    QString m_home;
    const Clock& m_clock;
};
