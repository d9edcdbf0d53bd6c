#include "scheduling/graphemes.h"

#include <QTextBoundaryFinder>

namespace {
// Whether a code point is a cluster of its own whatever stands around it: no mark, joiner,
// selector, format character, Hangul jamo, regional indicator, skin tone or prepended
// sign, and nothing unassigned (whose handling depends on the script around it).
bool standsAlone(char32_t cp)
{
    if (cp < 0x300)
        return cp != u'\r';
    switch (QChar::category(cp)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_NotAssigned:
        return false;
    default:
        break;
    }
    const auto in = [cp](char32_t first, char32_t last) { return cp >= first && cp <= last; };
    return !(in(0x1100, 0x11FF) || in(0xA960, 0xA97F) || in(0xD7B0, 0xD7FF) // jamo
             || in(0x1F1E6, 0x1F1FF) || in(0x1F3FB, 0x1F3FF)                // flags, skin tones
             || cp == 0x0E33 || cp == 0x0EB3 || in(0xFF9E, 0xFF9F)          // letters that extend
             || cp == 0x0D4E || in(0x111C2, 0x111C3) || cp == 0x1193F || cp == 0x11941
             || cp == 0x11A3A || in(0x11A84, 0x11A89) || cp == 0x11D46); // prepended signs
}

// The number of clusters when every code point stands alone, or -1.
qsizetype countOfLoneCodePoints(QStringView text)
{
    qsizetype count = 0;
    for (qsizetype i = 0; i < text.size(); ++i, ++count) {
        const char32_t cp = Graphemes::codePointAt(text, i);
        if (!standsAlone(cp))
            return -1;
        if (cp > 0xFFFF)
            ++i;
    }
    return count;
}
} // namespace

qsizetype Graphemes::count(QStringView text)
{
    if (const qsizetype simple = countOfLoneCodePoints(text); simple != -1)
        return simple;
    // The finder's working memory stays on the stack for post-sized texts.
    constexpr qsizetype BufferSize = 4096;
    unsigned char buffer[BufferSize];
    const bool fits = text.size() < BufferSize;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size(), fits ? buffer : nullptr,
                               fits ? BufferSize : 0);
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    return clusters;
}

char32_t Graphemes::codePointAt(QStringView text, qsizetype index)
{
    const QChar c = text.at(index);
    if (c.isHighSurrogate() && index + 1 < text.size() && text.at(index + 1).isLowSurrogate())
        return QChar::surrogateToUcs4(c, text.at(index + 1));
    return c.unicode();
}

bool Graphemes::isWhitespaceAt(QStringView text, qsizetype index)
{
    return QChar::isSpace(codePointAt(text, index));
}
