#include "scheduling/x_character_counter.h"

#include "scheduling/url_finder.h"

#include <QRegularExpression>
#include <QString>

#include <algorithm>

namespace {
using namespace Qt::StringLiterals;

constexpr qsizetype EmojiWeight = 2;

// A whole emoji sequence: a flag, a keycap, or a pictograph with its presentation selector,
// skin tone, tag run (subdivision flags) and any zero-width-joined followers. The copyright
// and registered signs are emoji only when asked for with U+FE0F; alone they are Latin-1 text.
const QRegularExpression& emojiPattern()
{
    static const QRegularExpression pattern(
        uR"(\p{RI}\p{RI})"
        uR"(|[0-9#*]\x{FE0F}?\x{20E3})"
        uR"(|(?:[\x{A9}\x{AE}]\x{FE0F}|(?![\x{A9}\x{AE}])\p{Extended_Pictographic}))"
        uR"((?:\x{FE0F}|\p{Emoji_Modifier})?(?:[\x{E0020}-\x{E007E}]+\x{E007F})?)"
        uR"((?:\x{200D}\p{Extended_Pictographic}(?:\x{FE0F}|\p{Emoji_Modifier})?)*)"_s,
        QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

qsizetype weightOf(char32_t codePoint)
{
    const bool light = codePoint <= 0x10FF || (codePoint >= 0x2000 && codePoint <= 0x200D)
                       || (codePoint >= 0x2010 && codePoint <= 0x201F)
                       || (codePoint >= 0x2032 && codePoint <= 0x2037);
    return light ? 1 : 2;
}

// Emoji sequences outside links, in order; a text without anything above U+00A8 has none.
QList<UrlFinder::Range> emojiRanges(QStringView text)
{
    QList<UrlFinder::Range> ranges;
    const bool mayHaveEmoji = std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 0xA9; });
    if (!mayHaveEmoji)
        return ranges;
    auto matches = emojiPattern().globalMatch(text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        ranges.append({match.capturedStart(), match.capturedLength()});
    }
    return ranges;
}
} // namespace

qsizetype XCharacterCounter::weightedLength(QStringView text)
{
    const QString normalized = text.toString().normalized(QString::NormalizationForm_C);
    const QList<UrlFinder::Range> links = UrlFinder::find(normalized, UrlFinder::Scheme::Optional);
    const QList<UrlFinder::Range> emoji = emojiRanges(normalized);

    qsizetype length = 0;
    auto link = links.cbegin();
    auto sequence = emoji.cbegin();
    for (qsizetype i = 0; i < normalized.size();) {
        while (sequence != emoji.cend() && sequence->start < i)
            ++sequence;
        if (link != links.cend() && link->start == i) {
            length += LinkLength;
            i = link->end();
            ++link;
        } else if (sequence != emoji.cend() && sequence->start == i) {
            length += EmojiWeight;
            i = sequence->end();
        } else {
            const QChar c = normalized.at(i);
            const bool pair = c.isHighSurrogate() && i + 1 < normalized.size() && normalized.at(i + 1).isLowSurrogate();
            length += weightOf(pair ? QChar::surrogateToUcs4(c, normalized.at(i + 1)) : c.unicode());
            i += pair ? 2 : 1;
        }
    }
    return length;
}

CharacterCount XCharacterCounter::count(QStringView text)
{
    return {weightedLength(text), Limit};
}
