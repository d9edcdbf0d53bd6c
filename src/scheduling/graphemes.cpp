#include "scheduling/graphemes.h"

#include "scheduling/code_point_table.h"

#include <QTextBoundaryFinder>

namespace {
using Table = CodePointTable;

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

// Where a cluster stands under the default rules, as far as the next code point cares.
class ClusterState {
public:
    void start(std::uint16_t flags)
    {
        m_control = flags & Table::Control;
        m_inEmoji = flags & Table::Pictographic;
        m_afterEmojiJoiner = false;
        m_unpairedIndicator = flags & Table::RegionalIndicator;
    }

    // Whether the code point joins the cluster: nothing joins a control character, marks
    // and joiners extend any other, a pictograph after a joined pictograph joins it, and
    // regional indicators pair up.
    bool joins(std::uint16_t flags)
    {
        if (m_control)
            return false;
        if (flags & Table::Extends) {
            m_inEmoji = m_inEmoji && !m_afterEmojiJoiner;
            m_afterEmojiJoiner = m_unpairedIndicator = false;
            return true;
        }
        if (flags & Table::ZeroWidthJoiner) {
            m_afterEmojiJoiner = m_inEmoji;
            m_inEmoji = m_unpairedIndicator = false;
            return true;
        }
        if ((flags & Table::RegionalIndicator) && m_unpairedIndicator) {
            m_unpairedIndicator = false;
            return true;
        }
        if ((flags & Table::Pictographic) && m_afterEmojiJoiner) {
            m_inEmoji = true;
            m_afterEmojiJoiner = false;
            return true;
        }
        return false;
    }

private:
    bool m_control = false;
    bool m_inEmoji = false;           // a pictograph, then only marks that extend
    bool m_afterEmojiJoiner = false;  // that, then a zero-width joiner
    bool m_unpairedIndicator = false; // a lone regional indicator so far
};

qsizetype ruleCount(QStringView piece, const Table& table)
{
    qsizetype clusters = 0;
    ClusterState state;
    for (qsizetype i = 0; i < piece.size();) {
        const char32_t cp = Graphemes::codePointAt(piece, i);
        const std::uint16_t flags = table.flagsOf(cp);
        i += unitsOf(cp);
        if (clusters > 0 && state.joins(flags))
            continue;
        ++clusters;
        state.start(flags);
    }
    return clusters;
}
} // namespace

qsizetype Graphemes::count(QStringView text)
{
    // The text is cut where a boundary is certain: before a code point that stands alone,
    // after one that may end a cluster. A piece of one code point is one cluster. Pieces
    // made of base characters, marks that extend, joiners and regional indicators follow
    // the default rules alone; only the others (Indic and Thai text, Hangul jamo, format
    // characters) need the costly finder. Short pieces also keep the finder clear of its
    // miscounts of Indic and Thai text that follows an emoji in the same call.
    constexpr auto RuleFlags = Table::StandsAlone | Table::Extends | Table::ZeroWidthJoiner | Table::RegionalIndicator;
    const Table& table = Table::instance();
    qsizetype clusters = 0;
    qsizetype pieceStart = 0;
    qsizetype pieceCodePoints = 0;
    bool pieceFollowsRules = true;
    bool previousMayEnd = false;
    const auto closePiece = [&](qsizetype end) {
        if (pieceCodePoints == 1) {
            ++clusters;
            return;
        }
        const QStringView piece = text.sliced(pieceStart, end - pieceStart);
        clusters += pieceFollowsRules ? ruleCount(piece, table) : finderCount(piece);
    };
    for (qsizetype i = 0; i < text.size();) {
        const char32_t cp = codePointAt(text, i);
        const std::uint16_t flags = table.flagsOf(cp);
        if (pieceCodePoints > 0 && previousMayEnd && (flags & Table::StandsAlone)) {
            closePiece(i);
            pieceStart = i;
            pieceCodePoints = 0;
            pieceFollowsRules = true;
        }
        ++pieceCodePoints;
        pieceFollowsRules = pieceFollowsRules && (flags & RuleFlags);
        previousMayEnd = flags & Table::MayEndCluster;
        i += unitsOf(cp);
    }
    if (pieceCodePoints > 0)
        closePiece(text.size());
    return clusters;
}

char32_t Graphemes::codePointBefore(QStringView text, qsizetype index)
{
    const QChar c = text.at(index - 1);
    if (c.isLowSurrogate() && index >= 2 && text.at(index - 2).isHighSurrogate())
        return QChar::surrogateToUcs4(text.at(index - 2), c);
    return c.unicode();
}

bool Graphemes::isWhitespaceAt(QStringView text, qsizetype index)
{
    return QChar::isSpace(codePointAt(text, index));
}
