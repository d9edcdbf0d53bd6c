#include "scheduling/x_character_counter.h"

#include "scheduling/graphemes.h"
#include "scheduling/url_finder.h"

#include <QRegularExpression>
#include <QString>

#include <bitset>

namespace {
using namespace Qt::StringLiterals;

constexpr qsizetype EmojiWeight = 2;

// Extended_Pictographic code points lie below U+3300 or in U+1F000-U+1FFFF. The table is
// read once from the regular-expression engine's Unicode data, so it matches its version.
class Pictographs {
public:
    static const Pictographs& instance()
    {
        static const Pictographs table;
        return table;
    }

    bool contains(char32_t cp) const
    {
        if (cp < LowEnd)
            return m_low.test(cp);
        return cp >= HighStart && cp < HighEnd && m_high.test(cp - HighStart);
    }

private:
    static constexpr char32_t LowEnd = 0x3300;
    static constexpr char32_t HighStart = 0x1F000;
    static constexpr char32_t HighEnd = 0x20000;

    Pictographs()
    {
        QString all;
        for (char32_t cp = 0; cp < LowEnd; ++cp)
            all += QChar(char16_t(cp));
        for (char32_t cp = HighStart; cp < HighEnd; ++cp)
            all += QChar::fromUcs4(cp);
        const QRegularExpression pattern(uR"(\p{Extended_Pictographic})"_s);
        auto matches = pattern.globalMatch(all);
        while (matches.hasNext()) {
            const qsizetype at = matches.next().capturedStart();
            if (at < qsizetype(LowEnd))
                m_low.set(size_t(at));
            else
                m_high.set(size_t(at - LowEnd) / 2);
        }
    }

    std::bitset<LowEnd> m_low;
    std::bitset<HighEnd - HighStart> m_high;
};

char32_t codePointAt(QStringView text, qsizetype i)
{
    return i < text.size() ? Graphemes::codePointAt(text, i) : 0;
}

qsizetype unitsOf(char32_t cp)
{
    return cp > 0xFFFF ? 2 : 1;
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
    const auto& pictographs = Pictographs::instance();
    if (first == 0xA9 || first == 0xAE) {
        if (codePointAt(text, j) != 0xFE0F)
            return -1;
        ++j;
    } else if (!pictographs.contains(first)) {
        return -1;
    }
    if (isModifierOrPresentation(codePointAt(text, j)))
        j += unitsOf(codePointAt(text, j));
    qsizetype tags = j;
    while (codePointAt(text, tags) >= 0xE0020 && codePointAt(text, tags) <= 0xE007E)
        tags += 2;
    if (tags > j && codePointAt(text, tags) == 0xE007F)
        j = tags + 2;
    while (codePointAt(text, j) == 0x200D && pictographs.contains(codePointAt(text, j + 1))) {
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

} // namespace

qsizetype XCharacterCounter::weightedLength(QStringView text)
{
    const QString normalized = text.toString().normalized(QString::NormalizationForm_C);
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
