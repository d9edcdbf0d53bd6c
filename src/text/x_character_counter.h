#pragma once

#include "text/character_count.h"

#include <QStringView>

// X's weighted length (its published counting rules, configuration version 3): the text is
// NFC-normalised; code points of Latin-1, the basic scripts up to U+10FF and the common
// punctuation and spaces of U+2000-U+2037 weigh 1, everything else 2; an emoji sequence
// weighs 2 however many code points it joins; a link, with or without a scheme, weighs 23.
class XCharacterCounter {
public:
    static constexpr qsizetype Limit = 280;
    static constexpr qsizetype LinkLength = 23;

    static qsizetype weightedLength(QStringView text);
    // X refuses a post holding U+FFFE, U+FEFF, U+FFFF or a directional embedding or
    // override (U+202A-U+202E), however short.
    static bool hasInvalidCharacters(QStringView text);
    static CharacterCount count(QStringView text);
};
