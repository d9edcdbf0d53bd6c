#include "text/graphemes.h"

#include "text/grapheme_break_table.h"

namespace {
using Table = GraphemeBreakTable;

// What the rules that look further back than one code point need to know about the
// cluster so far.
class ClusterState {
public:
    explicit ClusterState(std::uint8_t first) { take(first); }

    // Whether `next` joins a cluster whose last code point is `previous`.
    bool joins(std::uint8_t previous, std::uint8_t next) const
    {
        const Table::Class before = Table::classOf(previous);
        const Table::Class after = Table::classOf(next);
        if (before == Table::cr)
            return after == Table::lf;
        if (before == Table::lf || before == Table::control || after == Table::cr || after == Table::lf
            || after == Table::control)
            return false;
        switch (after) {
        case Table::extend:
        case Table::zwj:
        case Table::spacingMark:
            return true;
        default:
            break;
        }
        if (before == Table::prepend)
            return true;
        switch (before) {
        case Table::l:
            if (after == Table::l || after == Table::v || after == Table::lv || after == Table::lvt)
                return true;
            break;
        case Table::lv:
        case Table::v:
            if (after == Table::v || after == Table::t)
                return true;
            break;
        case Table::lvt:
        case Table::t:
            if (after == Table::t)
                return true;
            break;
        case Table::regionalIndicator:
            return after == Table::regionalIndicator && m_oddIndicators;
        default:
            break;
        }
        if (m_conjunct == Conjunct::linked && Table::conjunctOf(next) == Table::conjunctConsonant)
            return true;
        return before == Table::zwj && m_emoji == Emoji::joiner && Table::isPictographic(next);
    }

    void take(std::uint8_t value)
    {
        const Table::Class cls = Table::classOf(value);
        if (Table::isPictographic(value))
            m_emoji = Emoji::pictograph;
        else if (cls == Table::zwj && m_emoji == Emoji::pictograph)
            m_emoji = Emoji::joiner;
        else if (cls != Table::extend || m_emoji != Emoji::pictograph)
            m_emoji = Emoji::none;

        switch (Table::conjunctOf(value)) {
        case Table::conjunctConsonant:
            m_conjunct = Conjunct::consonant;
            break;
        case Table::conjunctLinker:
            if (m_conjunct != Conjunct::none)
                m_conjunct = Conjunct::linked;
            break;
        case Table::conjunctExtend:
            break;
        case Table::noConjunct:
            m_conjunct = Conjunct::none;
            break;
        }
        m_oddIndicators = cls == Table::regionalIndicator && !m_oddIndicators;
    }

private:
    // A pictograph followed by marks that extend, then a joiner after them (GB11).
    enum class Emoji : std::uint8_t { none, pictograph, joiner };
    // A consonant followed by marks, then a linker among them (GB9c).
    enum class Conjunct : std::uint8_t { none, consonant, linked };

    Emoji m_emoji = Emoji::none;
    Conjunct m_conjunct = Conjunct::none;
    bool m_oddIndicators = false; // GB12: indicators pair up from the cluster's start
};

} // namespace

qsizetype Graphemes::clusterEnd(QStringView text, qsizetype start)
{
    const Table& table = Table::instance();
    const char16_t* units = reinterpret_cast<const char16_t*>(text.data());
    const qsizetype size = text.size();
    // ASCII other than CR is one cluster when ASCII other than LF follows or the text ends:
    // nothing in ASCII joins.
    if (units[start] < 0x80 && units[start] != u'\r' && (start + 1 == size || units[start + 1] < 0x80))
        return start + 1;

    char32_t cp = codePointAt(text, start);
    std::uint8_t previous = table.valueOf(cp);
    ClusterState state(previous);
    qsizetype at = start + unitsOf(cp);
    while (at < size) {
        cp = codePointAt(text, at);
        const std::uint8_t next = table.valueOf(cp);
        if (!state.joins(previous, next))
            break;
        state.take(next);
        previous = next;
        at += unitsOf(cp);
    }
    return at;
}

qsizetype Graphemes::count(QStringView text)
{
    qsizetype clusters = 0;
    for (qsizetype at = 0; at < text.size(); at = clusterEnd(text, at))
        ++clusters;
    return clusters;
}

QList<qsizetype> Graphemes::clusterEnds(QStringView text)
{
    QList<qsizetype> ends;
    ends.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        at = clusterEnd(text, at);
        ends.append(at);
    }
    return ends;
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
