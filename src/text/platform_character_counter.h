#pragma once

#include "model/platform_type.h"
#include "model/post.h"
#include "model/social_account.h"
#include "text/character_count.h"
#include "text/mastodon_character_counter.h"

#include <QList>
#include <QStringView>

#include <optional>

// Counts a text by the rules of one network: the composer's counters, and the check that
// keeps a thread that a network would refuse from being sent.
class PlatformCharacterCounter {
public:
    // `mastodonLimit` is the instance's own limit, when it is known.
    static CharacterCount count(PlatformType platform, QStringView text,
                                qsizetype mastodonLimit = MastodonCharacterCounter::DefaultLimit);
    // The index of the first post the network would refuse as too long, if any.
    static std::optional<qsizetype> firstTooLong(const QList<Post>& thread, PlatformType platform,
                                                 qsizetype mastodonLimit = MastodonCharacterCounter::DefaultLimit);

    // By the rules of the account's network; a Mastodon account's own instance limit
    // (cached when it was connected or last published) replaces the default 500.
    static CharacterCount count(const SocialAccount& account, QStringView text);
    static std::optional<qsizetype> firstTooLong(const QList<Post>& thread, const SocialAccount& account);
    // The limit a post going through all these Mastodon accounts must keep: the smallest.
    static qsizetype mastodonLimit(const QList<SocialAccount>& accounts);
};
