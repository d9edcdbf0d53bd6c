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
