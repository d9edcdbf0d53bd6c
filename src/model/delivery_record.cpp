#include "model/delivery_record.h"

namespace {

QString stringOf(const Json& json, const char* key)
{
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? QString::fromStdString(found->get<std::string>()) : QString();
}

std::optional<AccountDelivery> accountFromJson(const Json& json)
{
    if (!json.is_object())
        return std::nullopt;
    AccountDelivery account;
    account.accountId = QUuid::fromString(stringOf(json, "accountId"));
    const auto platform = platformTypeFromRawValue(stringOf(json, "platform"));
    if (account.accountId.isNull() || !platform)
        return std::nullopt;
    account.platform = *platform;
    account.accountName = stringOf(json, "accountName");
    account.complete = json.value("complete", false);
    for (const Json& post : json.value("posts", Json::array())) {
        if (!post.is_object() || !post.contains("index") || !post["index"].is_number_integer())
            return std::nullopt;
        account.posts.append(DeliveredPost{post["index"].get<int>(), stringOf(post, "id"), stringOf(post, "url"), stringOf(post, "cid")});
    }
    return account;
}

} // namespace

const AccountDelivery* DeliveryRecord::find(const QUuid& accountId) const
{
    for (const AccountDelivery& account : accounts) {
        if (account.accountId == accountId)
            return &account;
    }
    return nullptr;
}

AccountDelivery& DeliveryRecord::entry(const QUuid& accountId, PlatformType platform, const QString& accountName)
{
    for (AccountDelivery& account : accounts) {
        if (account.accountId == accountId)
            return account;
    }
    accounts.append(AccountDelivery{accountId, platform, accountName, {}, false});
    return accounts.last();
}

bool DeliveryRecord::isEmpty() const
{
    return std::all_of(accounts.cbegin(), accounts.cend(), [](const AccountDelivery& account) { return account.posts.isEmpty(); });
}

QString DeliveryRecord::summary(int threadLength) const
{
    QStringList lines;
    for (const AccountDelivery& account : accounts) {
        if (account.posts.isEmpty())
            continue;
        const QString which = account.posts.size() == 1 ? QStringLiteral("post 1")
                                                        : QStringLiteral("posts 1–%1").arg(account.posts.size());
        QString line = QStringLiteral("%1 %2: %3 of %4 delivered")
                           .arg(displayName(account.platform), account.accountName, which)
                           .arg(threadLength);
        if (!account.posts.first().url.isEmpty())
            line += QStringLiteral(" (") + account.posts.first().url + QStringLiteral(")");
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

Json DeliveryRecord::toJson() const
{
    Json list = Json::array();
    for (const AccountDelivery& account : accounts) {
        Json posts = Json::array();
        for (const DeliveredPost& post : account.posts) {
            Json entry{{"index", post.index}, {"id", post.id.toStdString()}, {"url", post.url.toStdString()}};
            if (!post.cid.isEmpty())
                entry["cid"] = post.cid.toStdString();
            posts.push_back(std::move(entry));
        }
        list.push_back({{"accountId", account.accountId.toString(QUuid::WithoutBraces).toStdString()},
                        {"platform", rawValue(account.platform).toStdString()},
                        {"accountName", account.accountName.toStdString()},
                        {"complete", account.complete},
                        {"posts", posts}});
    }
    return {{"scheduledPostId", scheduledPostId.toString(QUuid::WithoutBraces).toStdString()},
            {"inProgress", inProgress},
            {"accounts", list}};
}

std::optional<DeliveryRecord> DeliveryRecord::fromJson(const Json& json)
{
    if (!json.is_object())
        return std::nullopt;
    DeliveryRecord record;
    record.scheduledPostId = QUuid::fromString(stringOf(json, "scheduledPostId"));
    const auto accounts = json.find("accounts");
    if (record.scheduledPostId.isNull() || accounts == json.end() || !accounts->is_array())
        return std::nullopt;
    const auto inProgress = json.find("inProgress");
    record.inProgress = inProgress != json.end() && inProgress->is_boolean() && inProgress->get<bool>();
    for (const Json& entry : *accounts) {
        const std::optional<AccountDelivery> account = accountFromJson(entry);
        if (!account)
            return std::nullopt;
        record.accounts.append(*account);
    }
    return record;
}
