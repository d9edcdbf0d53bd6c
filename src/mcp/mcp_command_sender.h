#pragma once

#include <QUrl>

#include <string>

// Carries a quillo:// command to the running instance and reports its outcome. The
// MCP process never acts on commands itself.
class MCPCommandSender {
public:
    struct Outcome {
        bool ok = false;
        std::string message;
    };

    virtual ~MCPCommandSender() = default;
    virtual Outcome send(const QUrl& url) = 0;
};
