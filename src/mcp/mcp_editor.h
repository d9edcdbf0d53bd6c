#pragma once

#include <QString>

#include <optional>
#include <span>

// The AI editors whose configuration files can receive Quillo's MCP server entry.
struct MCPEditor {
    enum class Kind { cursor, zed, windsurf, openCode };

    Kind kind;
    QString identifier;   // "editor-cursor"; also the suffix of its remembered-file key
    QString shortName;    // "cursor", as typed on the command line
    QString displayName;  // "Cursor"
    QString defaultPath;  // relative to the home folder
    const char* serversKey;

    QString defaultFileName() const;

    static std::span<const MCPEditor> all();
    // Accepts the short name, the identifier or the display name, in any case.
    static const MCPEditor* find(const QString& name);
};
