#include "text/code_point_table.h"

#include "text/grapheme_break_table.h"

#include <QChar>
#include <QList>
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
    set(inRange(cp, 0x1F1E6, 0x1F1FF), CodePointTable::regionalIndicator);
    set(pictographic, CodePointTable::pictographic);
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

    const GraphemeBreakTable& breaks = GraphemeBreakTable::instance();
    for (char32_t cp = 0; cp < TableEnd; ++cp)
        pictographic[cp] = GraphemeBreakTable::isPictographic(breaks.valueOf(cp));

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
