#include "mcp/editor_config_installer.h"

#include "core/clock.h"
#include "core/json_values.h"
#include "core/preference_store.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

constexpr const char* kEntryName = "quillo";
constexpr const char* kOpenCodeSchema = "https://opencode.ai/config.json";

QString toQString(const std::string& text)
{
    return QString::fromStdString(text);
}

// Editors' JSON may hold comments and trailing commas. This removes both and keeps
// everything inside strings exactly as written ("src/**/*.tmp" is a glob, not a comment).
std::string plainJson(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    size_t pendingComma = std::string::npos; // where a comma waits for the next token
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            const size_t start = i;
            for (++i; i < text.size() && text[i] != '"'; ++i) {
                if (text[i] == '\\')
                    ++i;
            }
            pendingComma = std::string::npos;
            out.append(text.substr(start, i - start + 1));
            continue;
        }
        if (c == '/' && i + 1 < text.size() && text[i + 1] == '/') {
            while (i < text.size() && text[i] != '\n')
                ++i;
            out += '\n';
            continue;
        }
        if (c == '/' && i + 1 < text.size() && text[i + 1] == '*') {
            const size_t end = text.find("*/", i + 2);
            i = end == std::string_view::npos ? text.size() : end + 1;
            out += ' ';
            continue;
        }
        if (c == ',') {
            pendingComma = out.size();
        } else if ((c == '}' || c == ']') && pendingComma != std::string::npos) {
            out[pendingComma] = ' '; // a trailing comma
            pendingComma = std::string::npos;
        } else if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
            pendingComma = std::string::npos;
        }
        out += c;
    }
    return out;
}

Json parseConfig(const QByteArray& bytes)
{
    const std::string text = bytes.toStdString();
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        return Json::object();
    if (JsonValues::nestsDeeperThan(text))
        throw Json::out_of_range::create(406, "the file is nested too deeply", nullptr);
    // nlohmann's own comment support knows strings; what it refuses (trailing commas)
    // goes through the same string-aware clean-up.
    Json parsed = Json::parse(text, nullptr, false, /*ignore_comments=*/true);
    if (!parsed.is_discarded())
        return parsed;
    return Json::parse(plainJson(text));
}

bool writeFileAtomically(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace

EditorConfigInstaller::EditorConfigInstaller(PreferenceStore& preferences, QString executablePath, QString homeDir,
                                             const Clock& clock)
    : m_preferences(preferences)
    , m_executable(std::move(executablePath))
    , m_home(std::move(homeDir))
    , m_clock(clock)
{
}

QString EditorConfigInstaller::bookmarkKey(const MCPEditor& editor)
{
    return QStringLiteral("MCPBookmark.") + editor.identifier;
}

Json EditorConfigInstaller::serverEntry(const MCPEditor& editor) const
{
    const std::string command = m_executable.toStdString();
    switch (editor.kind) {
    case MCPEditor::Kind::cursor:
        return {{"command", command}, {"args", {"--mcp-stdio"}}};
    case MCPEditor::Kind::windsurf:
        return {{"command", command}, {"args", {"--mcp-stdio"}}, {"env", Json::object()}};
    case MCPEditor::Kind::zed:
        return {{"source", "custom"}, {"command", command}, {"args", {"--mcp-stdio"}}, {"env", Json::object()}};
    case MCPEditor::Kind::openCode:
        return {{"type", "local"}, {"command", {command, "--mcp-stdio"}}, {"enabled", true}};
    }
    return Json::object();
}

Json EditorConfigInstaller::snippet(const MCPEditor& editor) const
{
    Json root = Json::object();
    if (editor.kind == MCPEditor::Kind::openCode)
        root["$schema"] = kOpenCodeSchema;
    root[editor.serversKey] = {{kEntryName, serverEntry(editor)}};
    return root;
}

QString EditorConfigInstaller::snippetText(const MCPEditor& editor) const
{
    return toQString(snippet(editor).dump(2));
}

QString EditorConfigInstaller::defaultFile(const MCPEditor& editor) const
{
    return QDir(m_home).filePath(editor.defaultPath);
}

QStringList EditorConfigInstaller::expectedFolders(const MCPEditor& editor) const
{
    const QString userFolder = QFileInfo(defaultFile(editor)).absolutePath();
    switch (editor.kind) {
    case MCPEditor::Kind::cursor: return {userFolder, QStringLiteral("<project>/.cursor")};
    case MCPEditor::Kind::zed: return {userFolder, QStringLiteral("<project>/.zed")};
    case MCPEditor::Kind::windsurf: return {userFolder};
    case MCPEditor::Kind::openCode: return {userFolder, QStringLiteral("<project>")};
    }
    return {userFolder};
}

// Only places the editor actually reads: its user folder, or a project's own folder.
bool EditorConfigInstaller::isSupportedLocation(const MCPEditor& editor, const QString& file) const
{
    const QFileInfo info(file);
    if (info.fileName() != editor.defaultFileName())
        return false;
    if (info.absolutePath() == QFileInfo(defaultFile(editor)).absolutePath())
        return true;
    const QString folder = info.absoluteDir().dirName();
    switch (editor.kind) {
    case MCPEditor::Kind::cursor: return folder == QStringLiteral(".cursor");
    case MCPEditor::Kind::zed: return folder == QStringLiteral(".zed");
    case MCPEditor::Kind::windsurf: return false;
    case MCPEditor::Kind::openCode: return true;
    }
    return false;
}

std::optional<QString> EditorConfigInstaller::rememberedFile(const MCPEditor& editor)
{
    const QString key = bookmarkKey(editor);
    const auto stored = m_preferences.stringValue(key);
    if (!stored)
        return std::nullopt;
    if (QFileInfo(*stored).isFile())
        return stored;
    m_preferences.remove(key); // the file is gone: forget it
    return std::nullopt;
}

EditorInstallResult EditorConfigInstaller::install(const MCPEditor& editor, const std::optional<QString>& chosenPath)
{
    if (chosenPath) {
        QString file = QFileInfo(*chosenPath).absoluteFilePath();
        if (QFileInfo(file).isDir())
            file = QDir(file).filePath(editor.defaultFileName());
        if (!isSupportedLocation(editor, file)) {
            return {QStringLiteral("invalid_location"), file,
                    QStringLiteral("Please save your MCP config inside:\n") + expectedFolders(editor).join(u'\n'), {}, false};
        }
        EditorInstallResult result = write(editor, file, QStringLiteral("user_selected"));
        if (result.ok)
            m_preferences.setValue(bookmarkKey(editor), file);
        return result;
    }
    if (const auto remembered = rememberedFile(editor))
        return write(editor, *remembered, QStringLiteral("bookmark"));
    const QString fallback = defaultFile(editor);
    if (QFileInfo(fallback).isFile())
        return write(editor, fallback, QStringLiteral("found_existing"));
    // Nothing there yet: create the file where the editor looks for it.
    return write(editor, fallback, QStringLiteral("user_selected"));
}

QString EditorConfigInstaller::makeBackup(const QString& file) const
{
    const QString stamp = m_clock.now().toDateTime().toLocalTime().toString(Qt::ISODate).left(19).replace(u':', u'-');
    QString backup = file + QStringLiteral(".quillo-") + stamp + QStringLiteral(".bak");
    // Two installs within one second keep both backups.
    for (int n = 2; QFileInfo::exists(backup); ++n)
        backup = file + QStringLiteral(".quillo-") + stamp + u'-' + QString::number(n) + QStringLiteral(".bak");
    return QFile::copy(file, backup) ? backup : QString();
}

EditorInstallResult EditorConfigInstaller::write(const MCPEditor& editor, const QString& file, const QString& status)
{
    EditorInstallResult result{status, file, {}, {}, false};
    const bool existed = QFileInfo(file).isFile();
    Json root = Json::object();
    if (existed) {
        result.backupPath = makeBackup(file);
        if (result.backupPath.isEmpty()) {
            result.message = QStringLiteral("Could not back up ") + file + QStringLiteral("; it was left unchanged.");
            return result;
        }
        QFile input(file);
        if (!input.open(QIODevice::ReadOnly)) {
            result.message = QStringLiteral("Could not read ") + file + QStringLiteral(": ") + input.errorString();
            return result;
        }
        try {
            root = parseConfig(input.readAll());
        } catch (const Json::exception& error) {
            result.message = QStringLiteral("Could not read ") + file + QStringLiteral(" as JSON (") + toQString(error.what())
                + QStringLiteral("). It was left unchanged; copy the snippet and paste it into the file yourself.");
            return result;
        }
    }
    if (!root.is_object()) {
        result.message = file + QStringLiteral(" does not hold a JSON object. It was left unchanged.");
        return result;
    }
    Json& servers = root[editor.serversKey];
    if (servers.is_null())
        servers = Json::object();
    if (!servers.is_object()) {
        result.message = QStringLiteral("\"") + QString::fromLatin1(editor.serversKey) + QStringLiteral("\" in ") + file
            + QStringLiteral(" is not an object. The file was left unchanged.");
        return result;
    }
    servers[kEntryName] = serverEntry(editor);
    if (root.size() == 1 && servers.size() == 1)
        root = snippet(editor); // a new file gets the snippet's exact shape and key order

    QDir().mkpath(QFileInfo(file).absolutePath());
    if (!writeFileAtomically(file, QByteArray::fromStdString(root.dump(2) + "\n"))) {
        result.message = QStringLiteral("Could not write ") + file + QStringLiteral("; the previous content is untouched.");
        return result;
    }
    result.ok = true;
    const bool merged = status == QStringLiteral("found_existing") || status == QStringLiteral("bookmark");
    result.message = (merged ? QStringLiteral("Updated existing config at ") : QStringLiteral("Saved MCP config at ")) + file;
    return result;
}
