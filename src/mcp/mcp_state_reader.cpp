#include "mcp/mcp_state_reader.h"

#include "core/coding_error.h"
#include "core/json_values.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "mcp/mcp_tool_error.h"

#include <QDebug>
#include <QFile>

#include <stdexcept>

#include <sys/stat.h>

namespace {

template <typename Decode>
auto decodeDocument(PreferenceStore& preferences, const QString& key, const char* what, Decode decode)
{
    decltype(decode(QByteArray())) decoded;
    try {
        preferences.readData(key, [&](const QByteArray& document) { decoded = decode(document); });
        return decoded;
    } catch (const CodingError& error) {
        const std::string message = std::string("The stored ") + what + " could not be read: " + error.message().toStdString();
        qWarning().noquote() << QString::fromStdString("[MCP] " + message);
        throw MCPToolError(message);
    }
}

} // namespace

MCPStateReader::MCPStateReader(PreferenceStore& preferences, QString deliveriesDir)
    : m_preferences(preferences)
    , m_deliveriesDir(std::move(deliveriesDir))
{
}

std::optional<DeliveryRecord> MCPStateReader::delivery(const QUuid& scheduledPostId) const
{
    if (m_deliveriesDir.isEmpty())
        return std::nullopt;
    QFile file(m_deliveriesDir + u'/' + scheduledPostId.toString(QUuid::WithoutBraces) + QStringLiteral(".json"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return DeliveryRecord::fromJson(JsonValues::parseOrDiscard(file.readAll().toStdString()));
}

MCPStateReader::FileStamp MCPStateReader::stamp(const QString& path) const
{
    struct stat info = {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {true, info.st_ino, info.st_size, info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec};
}

const QList<ScheduledPost>& MCPStateReader::scheduledPosts()
{
    const QString key = PreferenceKeys::ScheduledPosts;
    const FileStamp current = stamp(m_preferences.dataPath(key));
    if (m_postsStamp == current)
        return m_posts;
    m_posts = decodeDocument(m_preferences, key, "scheduled posts",
                             [](const QByteArray& bytes) { return ScheduledPost::decodeList(bytes); });
    m_postsStamp = current;
    return m_posts;
}

const QList<SocialAccount>& MCPStateReader::accounts()
{
    const QString key = PreferenceKeys::SocialAccounts;
    const FileStamp current = stamp(m_preferences.dataPath(key));
    if (m_accountsStamp == current)
        return m_accounts;
    m_accounts = decodeDocument(m_preferences, key, "accounts",
                                [](const QByteArray& bytes) { return SocialAccount::decodeList(bytes); });
    m_accountsStamp = current;
    return m_accounts;
}

QList<PlatformType> MCPStateReader::enabledPlatforms()
{
    m_preferences.sync();
    QList<PlatformType> platforms;
    const QStringList stored = m_preferences.stringListValue(PreferenceKeys::SocialPlatforms).value_or(QStringList());
    for (const QString& name : stored) {
        if (const auto platform = platformTypeFromRawValue(name))
            platforms.append(*platform);
    }
    return platforms;
}
