#include "mcp/mcp_editor.h"

#include <QFileInfo>

#include <vector>

QString MCPEditor::defaultFileName() const
{
    return QFileInfo(defaultPath).fileName();
}

std::span<const MCPEditor> MCPEditor::all()
{
    static const std::vector<MCPEditor> editors = {
        {Kind::cursor, QStringLiteral("editor-cursor"), QStringLiteral("cursor"), QStringLiteral("Cursor"),
         QStringLiteral(".cursor/mcp.json"), "mcpServers"},
        {Kind::zed, QStringLiteral("editor-zed"), QStringLiteral("zed"), QStringLiteral("Zed"),
         QStringLiteral(".config/zed/settings.json"), "context_servers"},
        {Kind::windsurf, QStringLiteral("editor-windsurf"), QStringLiteral("windsurf"), QStringLiteral("Windsurf"),
         QStringLiteral(".codeium/windsurf/mcp_config.json"), "mcpServers"},
        {Kind::openCode, QStringLiteral("editor-opencode"), QStringLiteral("opencode"), QStringLiteral("OpenCode"),
         QStringLiteral(".config/opencode/opencode.json"), "mcp"},
    };
    return editors;
}

const MCPEditor* MCPEditor::find(const QString& name)
{
    for (const MCPEditor& editor : all()) {
        for (const QString& candidate : {editor.shortName, editor.identifier, editor.displayName}) {
            if (candidate.compare(name, Qt::CaseInsensitive) == 0)
                return &editor;
        }
    }
    return nullptr;
}
