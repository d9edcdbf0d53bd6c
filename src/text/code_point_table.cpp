#include "text/code_point_table.h"

#include <QChar>
#include <QRegularExpression>
#include <QString>

namespace {
constexpr char32_t HangulSyllablesFirst = 0xAC00;
constexpr char32_t HangulSyllablesLast = 0xD7A3;
// Canonical decompositions end below the CJK compatibility supplement's end.
constexpr char32_t DecompositionsEnd = 0x30000;

bool inRange(char32_t cp, char32_t first, char32_t last)
{
    return cp >= first && cp <= last;
}

// Whether a code point is a cluster of its own whatever stands around it: no mark, joiner,
// selector, format character, Hangul jamo, regional indicator, skin tone or prepended
// sign, and nothing unassigned (whose handling depends on the script around it).
bool isStandAlone(char32_t cp)
{
    if (cp < 0x300)
        return cp != u'\r';
    const auto in = [cp](char32_t first, char32_t last) { return inRange(cp, first, last); };
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
// conjunct. Answering false where unsure only sends more text to the slow path.
bool canEndCluster(char32_t cp)
{
    if (cp < 0x300)
        return cp != u'\r';
    const auto in = [cp](char32_t first, char32_t last) { return inRange(cp, first, last); };
    if (in(0x1100, 0x115F) || in(0xA960, 0xA97F))
        return false;
    if (cp == 0x094D || cp == 0x09CD || cp == 0x0ACD || cp == 0x0B4D || cp == 0x0C4D || cp == 0x0D4D)
        return false;
    if (cp == 0x0D4E || in(0x111C2, 0x111C3) || cp == 0x1193F || cp == 0x11941 || cp == 0x11A3A
        || in(0x11A84, 0x11A89) || cp == 0x11D46)
        return false;
    return QChar::category(cp) != QChar::Other_Format;
}

bool extendsEverywhere(char32_t cp)
{
    const auto in = [cp](char32_t first, char32_t last) { return inRange(cp, first, last); };
    if (in(0x1F3FB, 0x1F3FF) || in(0xE0020, 0xE007F))
        return true; // skin tones, tags
    const bool markBlock = in(0x0300, 0x036F) || in(0x0483, 0x0489) || in(0x0591, 0x05C7) || in(0x0610, 0x061A)
                           || in(0x064B, 0x065F) || cp == 0x0670 || in(0x06D6, 0x06DC) || in(0x06DF, 0x06E4)
                           || in(0x06E7, 0x06E8) || in(0x06EA, 0x06ED) || in(0x1AB0, 0x1AFF) || in(0x1DC0, 0x1DFF)
                           || in(0x20D0, 0x20FF) || in(0x3099, 0x309A) || in(0xFE00, 0xFE0F) || in(0xFE20, 0xFE2F)
                           || in(0xE0100, 0xE01EF);
    if (!markBlock)
        return false;
    const QChar::Category category = QChar::category(cp);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

bool isLetterOrNumber(QChar::Category category)
{
    return (category >= QChar::Number_DecimalDigit && category <= QChar::Number_Other)
           || (category >= QChar::Letter_Uppercase && category <= QChar::Letter_Other);
}

bool isMark(QChar::Category category)
{
    return category >= QChar::Mark_NonSpacing && category <= QChar::Mark_Enclosing;
}

// Everything about a code point but the two facts read from whole tables.
std::uint16_t computeFlags(char32_t cp, bool pictographic, bool composesBackward)
{
    std::uint16_t flags = 0;
    const auto set = [&flags](bool condition, CodePointTable::Flag flag) {
        if (condition)
            flags |= flag;
    };
    const QChar::Category category = QChar::category(cp);
    set(isStandAlone(cp), CodePointTable::standsAlone);
    set(canEndCluster(cp), CodePointTable::mayEndCluster);
    set(extendsEverywhere(cp), CodePointTable::extends);
    set(cp == 0x200D, CodePointTable::zeroWidthJoiner);
    set(inRange(cp, 0x1F1E6, 0x1F1FF), CodePointTable::regionalIndicator);
    set(pictographic, CodePointTable::pictographic);
    // Format characters are controls, but for the joiners and the tags, which extend.
    set((category == QChar::Other_Control || category == QChar::Separator_Line || category == QChar::Separator_Paragraph
         || category == QChar::Other_Format)
            && cp != 0x200C && cp != 0x200D && !extendsEverywhere(cp),
        CodePointTable::control);
    set(isLetterOrNumber(category) || cp == u'_', CodePointTable::wordCharacter);
    set(isLetterOrNumber(category) || isMark(category) || category == QChar::Symbol_Other || cp == u'_'
            || cp == u'-',
        CodePointTable::linkLabel);

    const bool composes = QChar::combiningClass(cp) != 0 || composesBackward;
    bool stable = !composes;
    if (stable && QChar::decompositionTag(cp) == QChar::Canonical
        && !inRange(cp, HangulSyllablesFirst, HangulSyllablesLast)) {
        // Precomposed letters stay; singletons and composition exclusions change.
        const QString alone = QString::fromUcs4(&cp, 1);
        stable = alone.normalized(QString::NormalizationForm_C) == alone;
    }
    set(stable, CodePointTable::nfcStable);
    return flags;
}
} // namespace

CodePointTable::CodePointTable()
{
    std::vector<bool> pictographic(TableEnd, false);
    std::vector<bool> composesBackward(TableEnd, false);

    // Extended_Pictographic code points lie below U+3300 or in U+1F000-U+1FFFF. Qt has no
    // accessor for the property; its regular-expression engine does.
    constexpr char32_t LowEnd = 0x3300;
    constexpr char32_t HighStart = 0x1F000;
    QString candidates;
    for (char32_t cp = 0; cp < LowEnd; ++cp)
        candidates += QChar(char16_t(cp));
    for (char32_t cp = HighStart; cp < TableEnd; ++cp)
        candidates += QChar::fromUcs4(cp);
    const QRegularExpression pictograph(QStringLiteral(R"(\p{Extended_Pictographic})"));
    for (auto matches = pictograph.globalMatch(candidates); matches.hasNext();) {
        const qsizetype at = matches.next().capturedStart();
        // Below LowEnd one unit per code point, above it a surrogate pair each.
        pictographic[at < qsizetype(LowEnd) ? char32_t(at) : HighStart + char32_t(at - LowEnd) / 2] = true;
    }

    // The second code point of a canonical pair may compose with the one before it.
    for (char32_t cp = 0; cp < DecompositionsEnd; ++cp) {
        if (inRange(cp, HangulSyllablesFirst, HangulSyllablesLast) || QChar::decompositionTag(cp) != QChar::Canonical)
            continue;
        const QList<uint> parts = QChar::decomposition(cp).toUcs4();
        if (parts.size() == 2 && parts.at(1) < TableEnd)
            composesBackward[parts.at(1)] = true;
    }
    for (char32_t cp = 0x1161; cp <= 0x1175; ++cp)
        composesBackward[cp] = true; // Hangul vowels and trailing consonants
    for (char32_t cp = 0x11A8; cp <= 0x11C2; ++cp)
        composesBackward[cp] = true;

    m_flags.resize(TableEnd);
    for (char32_t cp = 0; cp < TableEnd; ++cp)
        m_flags[cp] = computeFlags(cp, pictographic[cp], composesBackward[cp]);
}

std::uint16_t CodePointTable::flagsBeyondTable(char32_t cp)
{
    return computeFlags(cp, false, false);
}
