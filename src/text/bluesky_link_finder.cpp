#include "text/bluesky_link_finder.h"

#include "text/code_point_table.h"
#include "text/graphemes.h"
#include "text/text_tokens.h"

#include <QVarLengthArray>

#include <algorithm>
#include <optional>
#include <string_view>

namespace {
using Span = BlueskyLinkFinder::Span;

bool isAsciiLetter(char32_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiAlnum(char32_t c)
{
    return isAsciiLetter(c) || (c >= u'0' && c <= u'9');
}

bool isLabelCharacter(char32_t c)
{
    return isAsciiAlnum(c) || c == u'-';
}

bool isHostCharacter(QChar c)
{
    return isLabelCharacter(c.unicode()) || c == u'.';
}

bool isIn(char32_t cp, std::string_view set)
{
    return cp < 0x80 && set.find(char(cp)) != std::string_view::npos;
}

// A path segment's characters: word characters of any script and URL punctuation.
bool isSegmentCharacter(char32_t cp)
{
    return CodePointTable::has(cp, CodePointTable::wordCharacter) || isIn(cp, "-.~!$&'()*+,;=:@%");
}

bool isPathCharacter(char32_t cp)
{
    return cp == u'/' || isSegmentCharacter(cp);
}

bool isQueryCharacter(char32_t cp)
{
    return cp == u'/' || cp == u'?' || isSegmentCharacter(cp);
}

bool isLabel(QStringView part)
{
    return !part.isEmpty() && isAsciiAlnum(part.front().unicode()) && isAsciiAlnum(part.back().unicode());
}

bool isTopLevelDomain(QStringView part)
{
    return part.size() >= 2 && std::all_of(part.begin(), part.end(), [](QChar c) { return isAsciiLetter(c.unicode()); });
}

// Whether a run of host characters is a whole host: labels, then a top-level domain.
bool isHost(QStringView run)
{
    const qsizetype lastDot = run.lastIndexOf(u'.');
    if (lastDot <= 0 || !isTopLevelDomain(run.sliced(lastDot + 1)))
        return false;
    for (const QStringView label : run.first(lastDot).tokenize(u'.')) {
        if (!isLabel(label))
            return false;
    }
    return true;
}

// Where the leftmost host inside a run of host characters starts, or -1: the top-level
// domain is the run's last part, and the labels before it reach as far left as they are
// whole; the first of them may be the tail of a part that starts with a hyphen.
qsizetype leftmostHostStart(QStringView run)
{
    const qsizetype lastDot = run.lastIndexOf(u'.');
    if (lastDot < 0 || !isTopLevelDomain(run.sliced(lastDot + 1)))
        return -1;
    qsizetype start = -1;
    for (qsizetype partEnd = lastDot;;) {
        const qsizetype partStart = partEnd == 0 ? 0 : run.lastIndexOf(u'.', partEnd - 1) + 1;
        if (partEnd == partStart || !isAsciiAlnum(run.at(partEnd - 1).unicode()))
            return start;
        start = partStart;
        while (!isAsciiAlnum(run.at(start).unicode()))
            ++start;
        if (start != partStart || partStart == 0)
            return start;
        partEnd = partStart - 1;
    }
}

// Whether the text from `at` to its end may follow a host: nothing, or a path, query or
// fragment. The path scan is remembered, so asking for later and later hosts of one run
// of text stays linear.
class TailCheck {
public:
    explicit TailCheck(QStringView text)
        : m_text(text)
        , m_queryFrom(text.size())
    {
        while (m_queryFrom > 0) {
            const char32_t cp = Graphemes::codePointBefore(text, m_queryFrom);
            if (!isQueryCharacter(cp))
                break;
            m_queryFrom -= Graphemes::unitsOf(cp);
        }
    }

    bool fits(qsizetype at)
    {
        if (at == m_text.size())
            return true;
        if (m_text.at(at) == u'/')
            return queryFits(pathEnd(at + 1));
        return queryFits(at);
    }

private:
    // Nothing, or '#' or '?' and query characters only up to the end.
    bool queryFits(qsizetype at) const
    {
        if (at == m_text.size())
            return true;
        return (m_text.at(at) == u'#' || m_text.at(at) == u'?') && at + 1 >= m_queryFrom;
    }

    qsizetype pathEnd(qsizetype from)
    {
        if (from < m_scannedFrom || from > m_scannedEnd) {
            m_scannedFrom = from;
            m_scannedEnd = Graphemes::runEnd(m_text, from, isPathCharacter);
        }
        return m_scannedEnd;
    }

    QStringView m_text;
    qsizetype m_queryFrom;
    qsizetype m_scannedFrom = -1;
    qsizetype m_scannedEnd = -2;
};

// The leftmost link that reaches the end of the word, if any.
std::optional<Span> linkEndingWord(QStringView word)
{
    TailCheck tail(word);
    for (qsizetype at = 0; at < word.size();) {
        if (!isHostCharacter(word.at(at))) {
            at += Graphemes::unitsOf(Graphemes::codePointAt(word, at));
            continue;
        }
        const qsizetype runStart = at;
        while (at < word.size() && isHostCharacter(word.at(at)))
            ++at;
        if (!tail.fits(at))
            continue;
        const QStringView run = word.sliced(runStart, at - runStart);
        const QStringView before = word.first(runStart);
        const qsizetype scheme = before.endsWith(u"https://") ? 8 : before.endsWith(u"http://") ? 7 : 0;
        if (scheme > 0 && isHost(run))
            return Span{runStart - scheme, word.size()};
        if (const qsizetype start = leftmostHostStart(run); start >= 0)
            return Span{runStart + start, word.size()};
    }
    return std::nullopt;
}

// The link the word starts with, as long as it goes (a line's first word).
std::optional<Span> linkStartingWord(QStringView word)
{
    const qsizetype hostStart = BlueskyLinkFinder::schemeLength(word);
    // As many labels as there are, then a top-level domain; with fewer labels when the
    // last one does not begin with two letters.
    QVarLengthArray<qsizetype, 8> afterLabels;
    for (qsizetype at = hostStart;;) {
        const qsizetype end = Graphemes::runEnd(word, at, isLabelCharacter);
        if (end >= word.size() || word.at(end) != u'.' || !isLabel(word.sliced(at, end - at)))
            break;
        at = end + 1;
        afterLabels.append(at);
    }
    for (auto label = afterLabels.crbegin(); label != afterLabels.crend(); ++label) {
        const qsizetype tldEnd = Graphemes::runEnd(word, *label, isAsciiLetter);
        if (tldEnd - *label < 2)
            continue;
        qsizetype end = tldEnd;
        if (end < word.size() && word.at(end) == u'/')
            end = Graphemes::runEnd(word, end, isPathCharacter);
        if (end < word.size() && (word.at(end) == u'#' || word.at(end) == u'?'))
            end = Graphemes::runEnd(word, end + 1, isQueryCharacter);
        return Span{0, end};
    }
    return std::nullopt;
}

// Whether the whitespace before the word holds a line feed.
bool startsLine(QStringView text, qsizetype wordStart)
{
    for (qsizetype i = wordStart - 1; i >= 0 && text.at(i).isSpace(); --i) {
        if (text.at(i) == u'\n')
            return true;
    }
    return false;
}
} // namespace

qsizetype BlueskyLinkFinder::schemeLength(QStringView text)
{
    if (text.startsWith(u"https://"))
        return 8;
    if (text.startsWith(u"http://"))
        return 7;
    return 0;
}

QList<Span> BlueskyLinkFinder::find(QStringView text)
{
    QVarLengthArray<Span, 8> spans;
    // A link holds no whitespace and at least one dot, so only such words are searched.
    for (const TextTokens::Token& token : TextTokens::withInnerDot(text)) {
        const auto shifted = [&token](Span span) { return Span{token.start + span.start, token.start + span.end}; };
        if (const std::optional<Span> link = linkEndingWord(token.text))
            spans.append(shifted(*link));
        if (!startsLine(text, token.start))
            continue;
        if (const std::optional<Span> link = linkStartingWord(token.text))
            spans.append(shifted(*link));
    }
    std::stable_sort(spans.begin(), spans.end(), [](Span a, Span b) { return a.start < b.start; });
    QList<Span> disjoint;
    for (const Span span : spans) {
        if (disjoint.isEmpty() || span.start >= disjoint.last().end)
            disjoint.append(span);
    }
    return disjoint;
}
