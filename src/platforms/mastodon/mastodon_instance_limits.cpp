#include "platforms/mastodon/mastodon_instance_limits.h"

#include "model/social_account.h"
#include "store/account_manager.h"

namespace {

std::optional<qint64> positive(const Json& object, const char* key)
{
    if (!object.is_object())
        return std::nullopt;
    const auto value = object.find(key);
    if (value == object.end() || !value->is_number_integer() || value->get<qint64>() <= 0)
        return std::nullopt;
    return value->get<qint64>();
}

const Json& member(const Json& object, const char* key)
{
    static const Json none;
    if (!object.is_object())
        return none;
    const auto value = object.find(key);
    return value == object.end() ? none : *value;
}

} // namespace

std::optional<MastodonInstanceLimits> MastodonInstanceLimits::fromInstanceDocument(const Json& document)
{
    const Json& configuration = member(document, "configuration");
    const Json& statuses = member(configuration, "statuses");
    const Json& media = member(configuration, "media_attachments");
    const std::optional<qint64> characters = positive(statuses, "max_characters");
    const std::optional<qint64> legacyCharacters = positive(document, "max_toot_chars");
    const std::optional<qint64> attachments = positive(statuses, "max_media_attachments");
    if (!characters && !legacyCharacters && !attachments && !statuses.is_object())
        return std::nullopt;

    MastodonInstanceLimits limits;
    limits.maxCharacters = qsizetype(characters.value_or(legacyCharacters.value_or(limits.maxCharacters)));
    limits.maxMediaAttachments = int(std::min<qint64>(attachments.value_or(limits.maxMediaAttachments), 100));
    limits.imageSizeLimit = positive(media, "image_size_limit").value_or(0);
    limits.videoSizeLimit = positive(media, "video_size_limit").value_or(0);
    return limits;
}

MastodonInstanceLimits MastodonInstanceLimits::fromAccount(const SocialAccount& account)
{
    MastodonInstanceLimits limits;
    limits.maxCharacters = account.mastodonCharacterLimit().value_or(limits.maxCharacters);
    bool ok = false;
    const int attachments = account.credential(CredentialKeys::maxMediaAttachments).toInt(&ok);
    if (ok && attachments > 0)
        limits.maxMediaAttachments = attachments;
    return limits;
}

void MastodonInstanceLimits::writeTo(QMap<QString, QString>& credentials) const
{
    credentials.insert(CredentialKeys::maxCharacters, QString::number(maxCharacters));
    credentials.insert(CredentialKeys::maxMediaAttachments, QString::number(maxMediaAttachments));
}

bool MastodonInstanceLimits::storeWith(AccountManager& accounts, const QUuid& accountId) const
{
    std::optional<SocialAccount> account = accounts.account(accountId);
    if (!account)
        return false;
    QMap<QString, QString> credentials = account->credentials;
    writeTo(credentials);
    if (credentials == account->credentials)
        return true;
    account->credentials = credentials;
    return accounts.updateAccount(*account);
}
