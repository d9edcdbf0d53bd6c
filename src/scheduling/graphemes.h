#pragma once

#include <QStringView>

// User-perceived characters (extended grapheme clusters): an emoji sequence or a letter
// with its combining marks is one, however many code points it takes.
class Graphemes {
public:
    static qsizetype count(QStringView text);
    // The code point that starts at `index` (a lone surrogate stands for itself).
    static char32_t codePointAt(QStringView text, qsizetype index)
    {
        const QChar c = text.at(index);
        if (c.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate())
            return QChar::surrogateToUcs4(c, text.at(index + 1));
        return c.unicode();
    }
    // The code point that ends just before `index`, which must be above 0.
    static char32_t codePointBefore(QStringView text, qsizetype index);
    // Whether the cluster starting at `index` is whitespace, line feeds included.
    static bool isWhitespaceAt(QStringView text, qsizetype index);
};
