#include "mcp/mcp_command_url.h"

MCPCommandURL::MCPCommandURL(const char* action)
    : m_action(QString::fromLatin1(action))
{
}

MCPCommandURL& MCPCommandURL::add(const char* key, const std::string& value)
{
    if (!m_query.isEmpty())
        m_query += '&';
    m_query += QUrl::toPercentEncoding(QString::fromLatin1(key)) + '='
        + QUrl::toPercentEncoding(QString::fromStdString(value));
    return *this;
}

MCPCommandURL& MCPCommandURL::add(const char* key, bool value)
{
    return add(key, std::string(value ? "true" : "false"));
}

MCPCommandURL& MCPCommandURL::add(const char* key, const std::vector<std::string>& values)
{
    std::string joined;
    for (const std::string& value : values) {
        if (!joined.empty())
            joined += ',';
        joined += value;
    }
    return add(key, joined);
}

QUrl MCPCommandURL::url() const
{
    return QUrl::fromEncoded(QByteArray(text().c_str()), QUrl::StrictMode);
}

std::string MCPCommandURL::text() const
{
    std::string url = "quillo://" + m_action.toStdString();
    if (!m_query.isEmpty())
        url += "?" + m_query.toStdString();
    return url;
}
