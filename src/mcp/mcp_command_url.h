#pragma once

#include <QString>
#include <QUrl>

#include <string>
#include <vector>

// Builds a quillo:// command URL. Every value is percent-encoded in full (a "+" or
// "&" in a post's text must arrive as typed), lists are joined with commas.
class MCPCommandURL {
public:
    explicit MCPCommandURL(const char* action);

    MCPCommandURL& add(const char* key, const std::string& value);
    MCPCommandURL& add(const char* key, bool value);
    MCPCommandURL& add(const char* key, const std::vector<std::string>& values);

    QUrl url() const;
    std::string text() const;

private:
    QString m_action;
    QByteArray m_query;
};
