#pragma once

#include "core/quillo_error.h"

#include <string>

// A tool call that cannot be carried out as asked: an argument of the wrong kind or
// value, or a stored document that cannot be read. The caller sees message() as the
// tool's error result; the server keeps running.
class MCPToolError : public QuilloError {
public:
    explicit MCPToolError(const std::string& message)
        : QuilloError(QString::fromStdString(message))
    {
    }
};
