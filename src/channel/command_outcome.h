#pragma once

#include <QString>

// What carrying out one command came to: success with a short note, or the failure
// message the user (or the MCP caller) is shown.
struct CommandOutcome {
    bool ok = false;
    QString message;

    static CommandOutcome success(QString message = {}) { return {true, std::move(message)}; }
    static CommandOutcome failure(QString message) { return {false, std::move(message)}; }

    bool operator==(const CommandOutcome&) const = default;
};
