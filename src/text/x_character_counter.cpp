#include "text/x_character_counter.h"

#include "text/code_point_table.h"
#include "text/graphemes.h"
#include "text/url_finder.h"

#include <QString>

#include <algorithm>

namespace {
constexpr qsizetype EmojiWeight = 2;

bool isPictographic(char32_t cp)
{
    return CodePointTable::has(cp, CodePointTable::pictographic);
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
    const auto at = [text](qsizetype index) { return Graphemes::codePointOrNullAt(text, index); };
    const char32_t first = at(i);
    qsizetype j = i + Graphemes::unitsOf(first);
    if (isRegionalIndicator(first))
        return isRegionalIndicator(at(j)) ? j + 2 : -1;
    if ((first >= u'0' && first <= u'9') || first == u'#' || first == u'*') {
        if (at(j) == 0xFE0F)
            ++j;
        return at(j) == 0x20E3 ? j + 1 : -1;
    }
    if (first == 0xA9 || first == 0xAE) {
        if (at(j) != 0xFE0F)
            return -1;
        ++j;
    } else if (!isPictographic(first)) {
        return -1;
    }
    if (isModifierOrPresentation(at(j)))
        j += Graphemes::unitsOf(at(j));
    qsizetype tags = j;
    while (at(tags) >= 0xE0020 && at(tags) <= 0xE007E)
        tags += 2;
    if (tags > j && at(tags) == 0xE007F)
        j = tags + 2;
    while (at(j) == 0x200D && isPictographic(at(j + 1))) {
        j += 1 + Graphemes::unitsOf(at(j + 1));
        if (isModifierOrPresentation(at(j)))
            j += Graphemes::unitsOf(at(j));
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

bool startsKeycap(QStringView text, qsizetype at)
{
    const char16_t unit = text.at(at).unicode();
    const bool base = (unit >= u'0' && unit <= u'9') || unit == u'#' || unit == u'*';
    return base && at + 1 < text.size() && (text.at(at + 1) == QChar(0xFE0F) || text.at(at + 1) == QChar(0x20E3));
}

// The end of the run from `at` of code points of the Basic Multilingual Plane that start
// no emoji; their weight is added to `weight`.
qsizetype plainRunEnd(QStringView text, qsizetype at, qsizetype stop, qsizetype& weight)
{
    const CodePointTable& table = CodePointTable::instance();
    for (; at < stop; ++at) {
        const char16_t unit = text.at(at).unicode();
        if (unit < 0x1100) {
            if (unit == 0xA9 || unit == 0xAE || startsKeycap(text, at))
                break;
            ++weight;
            continue;
        }
        if (QChar::isSurrogate(unit) || (table.flagsOf(unit) & CodePointTable::pictographic))
            break;
        weight += weightOf(unit);
    }
    return at;
}

// The text in NFC, in `storage` when that differs from the text. Only code points that are
// not stable can change, so each run of them is normalised together with the stable code
// point before it, which they may join; the rest is taken as it is.
QStringView normalizedForm(QStringView text, QString& storage)
{
    const CodePointTable& table = CodePointTable::instance();
    const auto isStable = [&table](char32_t cp) { return cp < 0x300 || (table.flagsOf(cp) & CodePointTable::nfcStable); };
    qsizetype copied = 0;
    qsizetype segmentStart = 0;
    for (qsizetype i = 0; i < text.size();) {
        const char16_t unit = text.at(i).unicode();
        if (!QChar::isSurrogate(unit) && isStable(unit)) {
            segmentStart = i++;
            continue;
        }
        char32_t cp = Graphemes::codePointAt(text, i);
        if (isStable(cp)) {
            segmentStart = i;
            i += Graphemes::unitsOf(cp);
            continue;
        }
        while (i < text.size() && !isStable(cp = Graphemes::codePointAt(text, i)))
            i += Graphemes::unitsOf(cp);
        if (copied == 0)
            storage.reserve(text.size() + 8);
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
    const QList<UrlFinder::Range> links = UrlFinder::find(normalized, UrlFinder::Scheme::optional);

    const CodePointTable& table = CodePointTable::instance();
    qsizetype length = 0;
    auto link = links.cbegin();
    for (qsizetype i = 0; i < normalized.size();) {
        if (link != links.cend() && link->start == i) {
            length += LinkLength;
            i = link->end();
            ++link;
            continue;
        }
        const qsizetype stop = link != links.cend() ? link->start : normalized.size();
        const qsizetype plainEnd = plainRunEnd(normalized, i, stop, length);
        if (plainEnd > i) {
            i = plainEnd;
            continue;
        }
        const char32_t cp = Graphemes::codePointAt(normalized, i);
        const bool mayStartEmoji = (table.flagsOf(cp) & (CodePointTable::pictographic | CodePointTable::regionalIndicator))
                                   || (cp >= u'#' && cp <= u'9');
        const qsizetype emojiEnd = mayStartEmoji ? emojiSequenceEnd(normalized, i) : -1;
        if (emojiEnd > i) {
            length += EmojiWeight;
            i = emojiEnd;
        } else {
            length += weightOf(cp);
            i += Graphemes::unitsOf(cp);
        }
    }
    return length;
}

bool XCharacterCounter::hasInvalidCharacters(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        const char16_t u = c.unicode();
        return u == 0xFFFE || u == 0xFEFF || u == 0xFFFF || (u >= 0x202A && u <= 0x202E);
    });
}

CharacterCount XCharacterCounter::count(QStringView text)
{
    CharacterCount counted{weightedLength(text), Limit};
    counted.invalidCharacters = hasInvalidCharacters(text);
    return counted;
}
