#pragma once

#include "text/character_count.h"

#include <QString>
#include <QStringView>

// Bluesky takes at most 300 user-perceived characters and 3000 UTF-8 bytes, measured on the
// text as the Bluesky client sends it: links there are shown without their scheme and cut
// to 32 characters plus "...", so a long link costs less than its typed length.
class BlueskyCharacterCounter {
public:
    static constexpr qsizetype Limit = 300;
    static constexpr qsizetype ByteLimit = 3000;
    static constexpr qsizetype LinkDisplayLength = 32;

    // The text with the client's link rewriting applied (a link broken over a line end is
    // joined with one space, then every link is replaced by its display form).
    static QString sentText(QStringView text);
    static CharacterCount count(QStringView text);
    static qsizetype utf8Size(QStringView text);
};
