#include "text/link_candidate_scanner.h"

#include "text/code_point_table.h"
#include "text/graphemes.h"

#include <cctype>
#include <optional>
#include <string_view>

namespace {
constexpr qsizetype MaxPortDigits = 5;

bool isAsciiDigit(QChar c)
{
    return c.unicode() >= u'0' && c.unicode() <= u'9';
}

bool isAsciiAlphanumeric(QChar c)
{
    return c.unicode() < 0x80 && std::isalnum(int(c.unicode()));
}

bool isLabelCharacter(char32_t cp)
{
    return CodePointTable::has(cp, CodePointTable::linkLabel);
}

bool endsLabelRun(QStringView text, qsizetype at)
{
    return at > 0 && isLabelCharacter(Graphemes::codePointBefore(text, at));
}

// The characters a path or query may hold. Letters match in either case, which takes in
// the few signs outside these ranges whose other case lies inside them.
bool isRestCharacter(char32_t cp)
{
    const auto in = [cp](char32_t first, char32_t last) { return cp >= first && cp <= last; };
    if (cp < 0x80) {
        static constexpr std::string_view Punctuation = "!*';:=+,.$/%#[]-_~&|@()?";
        return std::isalnum(int(cp)) || Punctuation.find(char(cp)) != std::string_view::npos;
    }
    return in(0x00C0, 0x024F) || in(0x0300, 0x036F) || in(0x0400, 0x04FF) || in(0x1E00, 0x1EFF) || cp == 0x2013
           || in(0x1C80, 0x1C87) || in(0x212A, 0x212B) || in(0x2C7E, 0x2C7F);
}

qsizetype schemeLength(QStringView text, qsizetype at)
{
    if (text.at(at) != u'h' && text.at(at) != u'H')
        return 0;
    const QStringView rest = text.sliced(at);
    if (rest.startsWith(u"https://", Qt::CaseInsensitive))
        return 8;
    if (rest.startsWith(u"http://", Qt::CaseInsensitive))
        return 7;
    return 0;
}

std::optional<LinkCandidateScanner::Candidate> candidateAt(QStringView text, qsizetype start, UrlFinder::Scheme scheme)
{
    LinkCandidateScanner::Candidate found;
    found.start = start;
    const qsizetype prefix = schemeLength(text, start);
    if (prefix == 0 && scheme == UrlFinder::Scheme::required)
        return std::nullopt;
    found.hasScheme = prefix > 0;
    found.hostStart = start + prefix;
    // Labels joined by dots, at least two. Without the scheme "http" would be a lone label.
    qsizetype end = Graphemes::runEnd(text, found.hostStart, isLabelCharacter);
    if (end == found.hostStart)
        return std::nullopt;
    bool dotted = false;
    while (end + 1 < text.size() && text.at(end) == u'.') {
        const qsizetype labelEnd = Graphemes::runEnd(text, end + 1, isLabelCharacter);
        if (labelEnd == end + 1)
            break;
        end = labelEnd;
        dotted = true;
    }
    if (!dotted)
        return std::nullopt;
    found.hostEnd = end;
    if (end + 1 < text.size() && text.at(end) == u':' && isAsciiDigit(text.at(end + 1))) {
        const qsizetype portStart = ++end;
        while (end < text.size() && end - portStart < MaxPortDigits && isAsciiDigit(text.at(end)))
            ++end;
    }
    if (end < text.size() && (text.at(end) == u'/' || text.at(end) == u'?' || text.at(end) == u'#')) {
        found.restStart = end++;
        while (end < text.size() && isRestCharacter(text.at(end).unicode()))
            ++end;
    }
    found.end = end;
    return found;
}
} // namespace

LinkCandidateScanner::Candidates LinkCandidateScanner::scan(QStringView word, UrlFinder::Scheme scheme)
{
    Candidates found;
    // A candidate starts where no label character stands before it, and the search goes on
    // after each candidate, whether it proves to be a link or not. A scheme needs only no
    // ASCII letter or digit before it, so a link written right after CJK text is found.
    for (qsizetype at = 0; at < word.size();) {
        const bool free = !endsLabelRun(word, at) || (schemeLength(word, at) > 0 && !isAsciiAlphanumeric(word.at(at - 1)));
        const std::optional<Candidate> candidate = free ? candidateAt(word, at, scheme) : std::nullopt;
        if (!candidate) {
            at += Graphemes::unitsOf(Graphemes::codePointAt(word, at));
            continue;
        }
        at = candidate->end;
        found.append(*candidate);
    }
    return found;
}
