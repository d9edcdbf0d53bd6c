#include "text/platform_character_counter.h"

#include "text/bluesky_character_counter.h"
#include "text/x_character_counter.h"

CharacterCount PlatformCharacterCounter::count(PlatformType platform, QStringView text, qsizetype mastodonLimit)
{
    switch (platform) {
    case PlatformType::x:
        return XCharacterCounter::count(text);
    case PlatformType::bluesky:
        return BlueskyCharacterCounter::count(text);
    case PlatformType::mastodon:
        return MastodonCharacterCounter::count(text, mastodonLimit);
    }
    return {};
}

std::optional<qsizetype> PlatformCharacterCounter::firstTooLong(const QList<Post>& thread, PlatformType platform,
                                                                qsizetype mastodonLimit)
{
    for (qsizetype i = 0; i < thread.size(); ++i) {
        if (!count(platform, thread.at(i).text, mastodonLimit).fits())
            return i;
    }
    return std::nullopt;
}

CharacterCount PlatformCharacterCounter::count(const SocialAccount& account, QStringView text)
{
    return count(account.platform, text, mastodonLimit({account}));
}

std::optional<qsizetype> PlatformCharacterCounter::firstTooLong(const QList<Post>& thread, const SocialAccount& account)
{
    return firstTooLong(thread, account.platform, mastodonLimit({account}));
}

qsizetype PlatformCharacterCounter::mastodonLimit(const QList<SocialAccount>& accounts)
{
    std::optional<qsizetype> smallest;
    for (const SocialAccount& account : accounts) {
        if (account.platform != PlatformType::mastodon)
            continue;
        const qsizetype limit = account.mastodonCharacterLimit().value_or(MastodonCharacterCounter::DefaultLimit);
        smallest = std::min(smallest.value_or(limit), limit);
    }
    return smallest.value_or(MastodonCharacterCounter::DefaultLimit);
}
