#include "text/graphemes.h"

#include "text/code_point_table.h"

#include <QTextBoundaryFinder>

namespace {
using Table = CodePointTable;

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
        m_control = flags & Table::control;
        m_inEmoji = flags & Table::pictographic;
        m_afterEmojiJoiner = false;
        m_unpairedIndicator = flags & Table::regionalIndicator;
    }

    // Whether the code point joins the cluster: nothing joins a control character, marks
    // and joiners extend any other, a pictograph after a joined pictograph joins it, and
    // regional indicators pair up.
    bool joins(std::uint16_t flags)
    {
        if (m_control)
            return false;
        if (flags & Table::extends) {
            m_inEmoji = m_inEmoji && !m_afterEmojiJoiner;
            m_afterEmojiJoiner = m_unpairedIndicator = false;
            return true;
        }
        if (flags & Table::zeroWidthJoiner) {
            m_afterEmojiJoiner = m_inEmoji;
            m_inEmoji = m_unpairedIndicator = false;
            return true;
        }
        if ((flags & Table::regionalIndicator) && m_unpairedIndicator) {
            m_unpairedIndicator = false;
            return true;
        }
        if ((flags & Table::pictographic) && m_afterEmojiJoiner) {
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
        i += Graphemes::unitsOf(cp);
        if (clusters > 0 && state.joins(flags))
            continue;
        ++clusters;
        state.start(flags);
    }
    return clusters;
}

// Cuts the text where a boundary is certain, before a code point that stands alone and
// after one that may end a cluster, and counts each piece. A piece of one code point is
// one cluster. Pieces made of base characters, marks that extend, joiners and regional
// indicators follow the default rules alone; only the others (Indic and Thai text, Hangul
// jamo, format characters) need the costly finder. Short pieces also keep the finder
// clear of its miscounts of Indic and Thai text that follows an emoji in the same call.
class PieceCounter {
public:
    explicit PieceCounter(QStringView text)
        : m_text(text)
        , m_table(Table::instance())
    {
    }

    qsizetype count()
    {
        const QChar* units = m_text.data();
        for (qsizetype i = 0; i < m_text.size();) {
            if (!isPlain(units[i])) {
                const char32_t cp = Graphemes::codePointAt(m_text, i);
                add(i, m_table.flagsOf(cp));
                i += Graphemes::unitsOf(cp);
                continue;
            }
            // In a run of plain code units every one but the first starts a piece, and all
            // but the last of those pieces hold one code point.
            const qsizetype runStart = i;
            while (i < m_text.size() && isPlain(units[i]))
                ++i;
            add(runStart, PlainFlags);
            if (i - runStart > 1) {
                closePiece(runStart + 1);
                m_clusters += i - runStart - 2;
                openPiece(i - 1, PlainFlags);
            }
        }
        if (m_pieceCodePoints > 0)
            closePiece(m_text.size());
        return m_clusters;
    }

private:
    static constexpr std::uint16_t RuleFlags =
        Table::standsAlone | Table::extends | Table::zeroWidthJoiner | Table::regionalIndicator;
    static constexpr std::uint16_t PlainFlags = Table::standsAlone | Table::mayEndCluster;

    // A code unit that is a code point of its own, stands alone and may end a cluster.
    bool isPlain(QChar unit) const
    {
        const char16_t u = unit.unicode();
        if (u < 0x300)
            return u != u'\r';
        return !QChar::isSurrogate(u) && (m_table.flagsOf(u) & PlainFlags) == PlainFlags;
    }

    void add(qsizetype at, std::uint16_t flags)
    {
        if (m_pieceCodePoints > 0 && m_previousMayEnd && (flags & Table::standsAlone)) {
            closePiece(at);
            openPiece(at, flags);
            return;
        }
        ++m_pieceCodePoints;
        m_pieceFollowsRules = m_pieceFollowsRules && (flags & RuleFlags);
        m_previousMayEnd = flags & Table::mayEndCluster;
    }

    void openPiece(qsizetype at, std::uint16_t flags)
    {
        m_pieceStart = at;
        m_pieceCodePoints = 1;
        m_pieceFollowsRules = flags & RuleFlags;
        m_previousMayEnd = flags & Table::mayEndCluster;
    }

    void closePiece(qsizetype end)
    {
        if (m_pieceCodePoints == 1) {
            ++m_clusters;
            return;
        }
        const QStringView piece = m_text.sliced(m_pieceStart, end - m_pieceStart);
        m_clusters += m_pieceFollowsRules ? ruleCount(piece, m_table) : finderCount(piece);
    }

    QStringView m_text;
    const Table& m_table;
    qsizetype m_clusters = 0;
    qsizetype m_pieceStart = 0;
    qsizetype m_pieceCodePoints = 0;
    bool m_pieceFollowsRules = true;
    bool m_previousMayEnd = false;
};

} // namespace

qsizetype Graphemes::count(QStringView text)
{
    return PieceCounter(text).count();
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
