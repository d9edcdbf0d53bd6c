#pragma once

#include "text/character_count.h"

#include <QStringView>

// Mastodon counts user-perceived characters, with every link as 23 (http and https on a
// known domain, and the other schemes it links: dat, dweb, ipfs, ipns, ssb, gopher,
// gemini) and a mention of a remote account (@user@domain) as its local part only (@user). The limit is the
// instance's own; 500 is what Mastodon ships with and what applies while it is unknown.
class MastodonCharacterCounter {
public:
    static constexpr qsizetype DefaultLimit = 500;
    static constexpr qsizetype LinkLength = 23;

    static qsizetype length(QStringView text);
    static CharacterCount count(QStringView text, qsizetype limit = DefaultLimit);
};
