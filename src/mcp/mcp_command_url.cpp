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
    return addJson(key, Json(values));
}

MCPCommandURL& MCPCommandURL::addJson(const char* key, const Json& value)
{
    return add(key, jsonText(value));
}

std::string MCPCommandURL::jsonText(const Json& value)
{
    // ASCII only: the typographic quotes become unicode escapes with everything else beyond
    // ASCII; the two ASCII ones that are no JSON quote are escaped by hand.
    const std::string ascii = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    std::string text;
    text.reserve(ascii.size());
    for (const char c : ascii) {
        if (c == '\'')
            text += "\\u0027";
        else if (c == '`')
            text += "\\u0060";
        else
            text += c;
    }
    return text;
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
