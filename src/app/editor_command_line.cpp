#include "app/editor_command_line.h"

#include "app/launch_options.h"
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "core/system_clock.h"
#include "mcp/editor_config_installer.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <cstdio>

namespace {

QString executablePath()
{
    const QString resolved = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return resolved.isEmpty() ? QStringLiteral("quillo") : resolved;
}

void print(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

QString editorNames()
{
    QStringList names;
    for (const MCPEditor& editor : MCPEditor::all())
        names.append(editor.shortName);
    return names.join(QStringLiteral(", "));
}

} // namespace

namespace EditorCommandLine {

int run(const LaunchOptions& options)
{
    const MCPEditor* editor = MCPEditor::find(options.editor);
    if (!editor) {
        print(stderr, QStringLiteral("Unknown editor \"%1\". Choose one of: %2.").arg(options.editor, editorNames()));
        return 1;
    }
    PreferenceStore preferences(AppPaths::fromEnvironment());
    const SystemClock clock;
    EditorConfigInstaller installer(preferences, executablePath(), QDir::homePath(), clock);

    if (options.mode == RunMode::printMcpConfig) {
        print(stdout, installer.snippetText(*editor));
        return 0;
    }
    const std::optional<QString> chosen = options.configPath.isEmpty() ? std::nullopt : std::optional(options.configPath);
    const EditorInstallResult result = installer.install(*editor, chosen);
    print(result.ok ? stdout : stderr, result.status + QStringLiteral(": ") + result.message);
    if (!result.backupPath.isEmpty())
        print(stdout, QStringLiteral("Backup: ") + result.backupPath);
    return result.ok ? 0 : 1;
}

} // namespace EditorCommandLine
