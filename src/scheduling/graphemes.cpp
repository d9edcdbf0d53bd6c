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
    const auto in = [cp](char32_t first, char32_t last) { return cp >= first && cp <= last; };
    // Common letters, all assigned and none joining, spare the category lookup.
    if (in(0x0400, 0x0482) || in(0x05D0, 0x05EA) || in(0x0621, 0x064A) || in(0x3041, 0x3096)
        || in(0x30A1, 0x30FA) || in(0x4E00, 0x9FEF) || in(0xAC00, 0xD7A3))
        return true;
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
    return !(in(0x1100, 0x11FF) || in(0xA960, 0xA97F) || in(0xD7B0, 0xD7FF) // jamo
             || in(0x1F1E6, 0x1F1FF) || in(0x1F3FB, 0x1F3FF)                // flags, skin tones
             || cp == 0x0E33 || cp == 0x0EB3 || in(0xFF9E, 0xFF9F)          // letters that extend
             || cp == 0x0D4E || in(0x111C2, 0x111C3) || cp == 0x1193F || cp == 0x11941
             || cp == 0x11A3A || in(0x11A84, 0x11A89) || cp == 0x11D46); // prepended signs
}

// Whether a cluster may end after this code point when a code point that stands alone
// follows: not after a prepended sign, a format character (the zero-width joiner among
// them), a leading Hangul jamo, a carriage return, or a virama that joins an Indic
// conjunct. Answering false where unsure only makes the finder look at more text.
bool mayEndCluster(char32_t cp)
{
    if (cp < 0x300)
        return cp != u'\r';
    const auto in = [cp](char32_t first, char32_t last) { return cp >= first && cp <= last; };
    if (in(0x1100, 0x115F) || in(0xA960, 0xA97F))
        return false;
    if (cp == 0x094D || cp == 0x09CD || cp == 0x0ACD || cp == 0x0B4D || cp == 0x0C4D || cp == 0x0D4D)
        return false;
    if (cp == 0x0D4E || in(0x111C2, 0x111C3) || cp == 0x1193F || cp == 0x11941 || cp == 0x11A3A
        || in(0x11A84, 0x11A89) || cp == 0x11D46)
        return false;
    return QChar::category(cp) != QChar::Other_Format;
}

qsizetype unitsOf(char32_t cp)
{
    return cp > 0xFFFF ? 2 : 1;
}

qsizetype finderCount(QStringView text)
{
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
} // namespace

qsizetype Graphemes::count(QStringView text)
{
    // The text is cut where a boundary is certain: before a code point that stands alone,
    // after one that may end a cluster. A piece of one code point is one cluster; only the
    // others need the (costly) finder. Short pieces also keep the finder clear of its
    // miscounts of Indic and Thai text that follows an emoji in the same call.
    qsizetype clusters = 0;
    qsizetype pieceStart = 0;
    qsizetype pieceCodePoints = 0;
    bool previousMayEnd = false;
    const auto closePiece = [&](qsizetype end) {
        clusters += pieceCodePoints == 1 ? 1 : finderCount(text.sliced(pieceStart, end - pieceStart));
    };
    for (qsizetype i = 0; i < text.size();) {
        const char32_t cp = codePointAt(text, i);
        if (pieceCodePoints > 0 && previousMayEnd && standsAlone(cp)) {
            closePiece(i);
            pieceStart = i;
            pieceCodePoints = 0;
        }
        ++pieceCodePoints;
        previousMayEnd = mayEndCluster(cp);
        i += unitsOf(cp);
    }
    if (pieceCodePoints > 0)
        closePiece(text.size());
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
