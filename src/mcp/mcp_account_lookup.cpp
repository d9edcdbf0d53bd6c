#include "mcp/mcp_account_lookup.h"

#include "mcp/mcp_arguments.h"

namespace {

QString text(const std::optional<std::string>& value)
{
    return value ? QString::fromStdString(*value) : QString();
}

// Handles are compared without a leading "@" and without regard to case.
QString handle(QString name)
{
    if (name.startsWith(u'@'))
        name.remove(0, 1);
    return name.toLower();
}

bool matches(const SocialAccount& account, const QString& id, const QString& name, const QString& nickname)
{
    if (!id.isEmpty() && account.id == QUuid::fromString(id))
        return true;
    if (!name.isEmpty() && handle(account.name) == handle(name))
        return true;
    return !nickname.isEmpty() && account.nickname && account.nickname->compare(nickname, Qt::CaseInsensitive) == 0;
}

} // namespace

MCPAccountLookup::Result MCPAccountLookup::find(const QList<SocialAccount>& accounts, const MCPArguments& args, Purpose purpose)
{
    const auto platformName = args.string("platform");
    std::optional<PlatformType> platform;
    if (platformName) {
        platform = platformTypeFromRawValue(QString::fromStdString(*platformName));
        if (!platform)
            return std::string("Invalid platform. Must be 'x', 'bluesky', or 'mastodon'");
    }
    const QString id = text(args.string("id"));
    const QString name = text(args.string("name"));
    const QString nickname = text(args.string("nickname"));
    if (id.isEmpty() && name.isEmpty() && nickname.isEmpty())
        return std::string("Missing account identifier (id, name, or nickname)");
    if (accounts.isEmpty())
        return std::string("No accounts available");

    QList<SocialAccount> candidates;
    for (const SocialAccount& account : accounts) {
        if (!platform || account.platform == *platform)
            candidates.append(account);
    }
    if (purpose == Purpose::setDefault && platform && candidates.isEmpty())
        return "No accounts found for platform: " + *platformName;

    QList<SocialAccount> found;
    for (const SocialAccount& account : candidates) {
        if (matches(account, id, name, nickname))
            found.append(account);
    }
    if (found.isEmpty()) {
        if (purpose == Purpose::setDefault && platform)
            return "Account not found for platform: " + *platformName;
        return std::string("Account not found");
    }
    if (found.size() > 1 && !platform)
        return std::string("Multiple accounts match. Provide platform to disambiguate.");
    return found.first();
}
