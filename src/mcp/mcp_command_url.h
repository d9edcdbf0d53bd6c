#pragma once

#include "core/json.h"

#include <QString>
#include <QUrl>

#include <string>
#include <vector>

// Builds a quillo:// command URL. Every value is percent-encoded in full (a "+" or
// "&" in a post's text must arrive as typed); lists go as JSON arrays, so an item may
// hold a comma.
class MCPCommandURL {
public:
    explicit MCPCommandURL(const char* action);

    MCPCommandURL& add(const char* key, const std::string& value);
    MCPCommandURL& add(const char* key, bool value);
    MCPCommandURL& add(const char* key, const std::vector<std::string>& values);
    // A structured value (a thread, an account selection) as JSON text.
    MCPCommandURL& addJson(const char* key, const Json& value);

    // JSON text in which no quotation mark of any kind appears inside a string (they are
    // written as JSON unicode escapes): the command side turns typed quotes into JSON's before it
    // parses text that is not JSON, and must never find one inside a name.
    static std::string jsonText(const Json& value);

    QUrl url() const;
    std::string text() const;

private:
    QString m_action;
    QByteArray m_query;
};
