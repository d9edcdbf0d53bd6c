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

// The end of the stretch that starts at `start` and runs until two code points that stand
// alone meet: a boundary lies between them, so the stretch is segmented on its own.
qsizetype stretchEnd(QStringView text, qsizetype start)
{
    char32_t cp = Graphemes::codePointAt(text, start);
    bool previousAlone = standsAlone(cp);
    qsizetype i = start + unitsOf(cp);
    while (i < text.size()) {
        cp = Graphemes::codePointAt(text, i);
        const bool alone = standsAlone(cp);
        if (previousAlone && alone)
            return i;
        previousAlone = alone;
        i += unitsOf(cp);
    }
    return i;
}
} // namespace

qsizetype Graphemes::count(QStringView text)
{
    // A code point that stands alone and is followed by another (or the end) is a cluster
    // of its own; only the stretches around the others need the (costly) finder.
    qsizetype clusters = 0;
    qsizetype i = 0;
    bool alone = !text.isEmpty() && standsAlone(codePointAt(text, 0));
    while (i < text.size()) {
        const qsizetype next = i + unitsOf(codePointAt(text, i));
        const bool nextAlone = next == text.size() || standsAlone(codePointAt(text, next));
        if (alone && nextAlone) {
            ++clusters;
            i = next;
            continue;
        }
        const qsizetype end = stretchEnd(text, i);
        clusters += finderCount(text.sliced(i, end - i));
        i = end;
        alone = true; // a stretch ends before a code point that stands alone
    }
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
