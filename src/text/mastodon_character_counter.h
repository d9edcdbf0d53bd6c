#pragma once

#include "text/character_count.h"

#include <QStringView>

// Mastodon counts user-perceived characters, with every http(s) link as 23 and a mention of
// a remote account (@user@domain) as its local part only (@user). The limit is the
// instance's own; 500 is what Mastodon ships with and what applies while it is unknown.
class MastodonCharacterCounter {
public:
    static constexpr qsizetype DefaultLimit = 500;
    static constexpr qsizetype LinkLength = 23;

    static qsizetype length(QStringView text);
    static CharacterCount count(QStringView text, qsizetype limit = DefaultLimit);
};
