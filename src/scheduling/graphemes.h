#pragma once

#include <QStringView>

// User-perceived characters (extended grapheme clusters): an emoji sequence or a letter
// with its combining marks is one, however many code points it takes.
class Graphemes {
public:
    static qsizetype count(QStringView text);
    // The code point that starts at `index` (a lone surrogate stands for itself).
    static char32_t codePointAt(QStringView text, qsizetype index);
    // Whether the cluster starting at `index` is whitespace, line feeds included.
    static bool isWhitespaceAt(QStringView text, qsizetype index);
};
