#include "scheduling/x_character_counter.h"

#include "scheduling/code_point_table.h"
#include "scheduling/graphemes.h"
#include "scheduling/url_finder.h"

#include <QString>

namespace {
using namespace Qt::StringLiterals;

constexpr qsizetype EmojiWeight = 2;

char32_t codePointAt(QStringView text, qsizetype i)
{
    return i < text.size() ? Graphemes::codePointAt(text, i) : 0;
}

qsizetype unitsOf(char32_t cp)
{
    return cp > 0xFFFF ? 2 : 1;
}

bool isPictographic(char32_t cp)
{
    return CodePointTable::has(cp, CodePointTable::Pictographic);
}

bool isRegionalIndicator(char32_t cp)
{
    return cp >= 0x1F1E6 && cp <= 0x1F1FF;
}

bool isModifierOrPresentation(char32_t cp)
{
    return cp == 0xFE0F || (cp >= 0x1F3FB && cp <= 0x1F3FF);
}

// The end of the emoji sequence that starts at `i`, or -1 when none does: a flag, a keycap,
// or a pictograph with its presentation selector or skin tone, a tag run (subdivision
// flags) and any zero-width-joined followers. The copyright and registered signs are emoji
// only when asked for with U+FE0F; alone they are Latin-1 text.
qsizetype emojiSequenceEnd(QStringView text, qsizetype i)
{
    const char32_t first = codePointAt(text, i);
    qsizetype j = i + unitsOf(first);
    if (isRegionalIndicator(first))
        return isRegionalIndicator(codePointAt(text, j)) ? j + 2 : -1;
    if ((first >= u'0' && first <= u'9') || first == u'#' || first == u'*') {
        if (codePointAt(text, j) == 0xFE0F)
            ++j;
        return codePointAt(text, j) == 0x20E3 ? j + 1 : -1;
    }
    if (first == 0xA9 || first == 0xAE) {
        if (codePointAt(text, j) != 0xFE0F)
            return -1;
        ++j;
    } else if (!isPictographic(first)) {
        return -1;
    }
    if (isModifierOrPresentation(codePointAt(text, j)))
        j += unitsOf(codePointAt(text, j));
    qsizetype tags = j;
    while (codePointAt(text, tags) >= 0xE0020 && codePointAt(text, tags) <= 0xE007E)
        tags += 2;
    if (tags > j && codePointAt(text, tags) == 0xE007F)
        j = tags + 2;
    while (codePointAt(text, j) == 0x200D && isPictographic(codePointAt(text, j + 1))) {
        j += 1 + unitsOf(codePointAt(text, j + 1));
        if (isModifierOrPresentation(codePointAt(text, j)))
            j += unitsOf(codePointAt(text, j));
    }
    return j;
}

qsizetype weightOf(char32_t codePoint)
{
    const bool light = codePoint <= 0x10FF || (codePoint >= 0x2000 && codePoint <= 0x200D)
                       || (codePoint >= 0x2010 && codePoint <= 0x201F)
                       || (codePoint >= 0x2032 && codePoint <= 0x2037);
    return light ? 1 : 2;
}

// The text in NFC, in `storage` when that differs from the text. Only code points that are
// not stable can change, so each run of them is normalised together with the stable code
// point before it, which they may join; the rest is taken as it is.
QStringView normalizedForm(QStringView text, QString& storage)
{
    qsizetype copied = 0;
    qsizetype segmentStart = 0;
    for (qsizetype i = 0; i < text.size();) {
        char32_t cp = Graphemes::codePointAt(text, i);
        if (CodePointTable::has(cp, CodePointTable::NfcStable)) {
            segmentStart = i;
            i += unitsOf(cp);
            continue;
        }
        while (i < text.size() && !CodePointTable::has(cp = Graphemes::codePointAt(text, i), CodePointTable::NfcStable))
            i += unitsOf(cp);
        storage += text.sliced(copied, segmentStart - copied);
        storage += text.sliced(segmentStart, i - segmentStart).toString().normalized(QString::NormalizationForm_C);
        copied = segmentStart = i;
    }
    if (copied == 0)
        return text;
    storage += text.sliced(copied);
    return storage;
}
} // namespace

qsizetype XCharacterCounter::weightedLength(QStringView text)
{
    QString storage;
    const QStringView normalized = normalizedForm(text, storage);
    const QList<UrlFinder::Range> links = UrlFinder::find(normalized, UrlFinder::Scheme::Optional);

    qsizetype length = 0;
    auto link = links.cbegin();
    for (qsizetype i = 0; i < normalized.size();) {
        if (link != links.cend() && link->start == i) {
            length += LinkLength;
            i = link->end();
            ++link;
            continue;
        }
        const char32_t cp = Graphemes::codePointAt(normalized, i);
        const qsizetype emojiEnd = cp >= 0xA9 || (cp >= u'#' && cp <= u'9') ? emojiSequenceEnd(normalized, i) : -1;
        if (emojiEnd > i) {
            length += EmojiWeight;
            i = emojiEnd;
        } else {
            length += weightOf(cp);
            i += unitsOf(cp);
        }
    }
    return length;
}

CharacterCount XCharacterCounter::count(QStringView text)
{
    return {weightedLength(text), Limit};
}
