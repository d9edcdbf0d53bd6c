#include "text/url_finder.h"

#include "text/link_candidate_scanner.h"
#include "text/text_tokens.h"
#include "text/top_level_domains.h"

#include <QUrl>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <optional>

namespace {

bool isAsciiHostCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') || u == u'-' || u == u'.'
           || u == u'_';
}

bool isAscii(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

using Labels = QVarLengthArray<QStringView, 8>;

bool isIpv4(const Labels& labels)
{
    if (labels.size() != 4)
        return false;
    return std::all_of(labels.begin(), labels.end(), [](QStringView label) {
        bool ok = false;
        const int octet = label.toInt(&ok);
        return ok && label.size() <= 3 && octet <= 255;
    });
}

// A label's length as DNS sees it: internationalised labels travel in punycode.
bool fitsDns(QStringView label)
{
    if (isAscii(label))
        return label.size() <= 63;
    const QByteArray ace = QUrl::toAce(label.toString());
    return !ace.isEmpty() && ace.size() <= 63;
}

bool isValidHost(QStringView host, bool hasScheme, bool hasPath)
{
    Labels labels;
    for (const QStringView label : host.tokenize(u'.'))
        labels.append(label);
    if (hasScheme && isIpv4(labels))
        return true;
    if (!hasScheme && !isAscii(host))
        return false; // callers pass the ASCII part of a bare host
    for (qsizetype i = 0; i < labels.size(); ++i) {
        const QStringView label = labels.at(i);
        if (label.startsWith(u'-') || label.endsWith(u'-') || !fitsDns(label))
            return false;
        // Underscores are tolerated in sub-domains only.
        if (i >= labels.size() - 2 && label.contains(u'_'))
            return false;
    }
    const QStringView tld = labels.last();
    if (tld.startsWith(u"xn--", Qt::CaseInsensitive))
        return true;
    // Only X's known top-level domains make a link, with a scheme too: "intranet.corp" is text.
    const TopLevelDomains::Kind kind = TopLevelDomains::of(tld);
    if (kind == TopLevelDomains::Kind::none)
        return false;
    if (hasScheme || kind == TopLevelDomains::Kind::generic)
        return true;
    // A bare "name.cc" is too often a file name or a typo; X links it only with a path or a
    // sub-domain, except on the country domains it links bare: the short-link ones (t.co,
    // twitch.tv) and the two the tech world uses as generic ones (x.ai, github.io).
    static const std::array<QStringView, 4> bareCountryDomains = {u"co", u"tv", u"ai", u"io"};
    const bool shortLinkTld = std::any_of(bareCountryDomains.begin(), bareCountryDomains.end(),
                                          [&](QStringView known) { return tld.compare(known, Qt::CaseInsensitive) == 0; });
    return labels.size() > 2 || hasPath || shortLinkTld;
}

bool isForbiddenBefore(QChar c, bool hasScheme)
{
    static const QString always = QStringLiteral(u"@\uFF20$#\uFF03");
    if (always.contains(c))
        return true;
    return !hasScheme && (c == u'.' || c == u'/');
}

// The candidate as a link, unless what stands before it or its host rules it out.
std::optional<UrlFinder::Range> accepted(QStringView text, qsizetype offset, const LinkCandidateScanner::Candidate& candidate)
{
    const qsizetype start = offset + candidate.start;
    if (start > 0 && isForbiddenBefore(text.at(start - 1), candidate.hasScheme))
        return std::nullopt;
    qsizetype end = offset + candidate.end;
    const bool hasRest = candidate.restStart >= 0;
    if (hasRest)
        end = UrlFinder::trimTrailing(text, offset + candidate.restStart, end, u".,;:!?*'$%[]~|@(");
    const bool hasPath = hasRest && end > offset + candidate.restStart;
    qsizetype hostStart = offset + candidate.hostStart;
    const qsizetype hostEnd = offset + candidate.hostEnd;
    qsizetype linkStart = start;
    if (!candidate.hasScheme) {
        // Without a scheme only the ASCII domain at the end of the host is linked, so a
        // domain written right after CJK or other letters is still found.
        qsizetype asciiStart = hostEnd;
        while (asciiStart > hostStart && isAsciiHostCharacter(text.at(asciiStart - 1)))
            --asciiStart;
        while (asciiStart < hostEnd && (text.at(asciiStart) == u'.' || text.at(asciiStart) == u'-'))
            ++asciiStart;
        hostStart = linkStart = asciiStart;
    }
    const QStringView host = text.sliced(hostStart, hostEnd - hostStart);
    if (host.isEmpty() || !isValidHost(host, candidate.hasScheme, hasPath))
        return std::nullopt;
    return UrlFinder::Range{linkStart, end - linkStart};
}
} // namespace

QList<UrlFinder::Range> UrlFinder::find(QStringView text, Scheme scheme)
{
    QList<Range> ranges;
    for (const TextTokens::Token& token : TextTokens::withInnerDot(text)) {
        for (const LinkCandidateScanner::Candidate& candidate : LinkCandidateScanner::scan(token.text, scheme)) {
            if (const std::optional<Range> link = accepted(text, token.start, candidate))
                ranges.append(*link);
        }
    }
    return ranges;
}

qsizetype UrlFinder::trimTrailing(QStringView text, qsizetype restStart, qsizetype end, QStringView trailing)
{
    while (end > restStart) {
        const QChar last = text.at(end - 1);
        if (last == u')') {
            const QStringView rest = text.sliced(restStart, end - restStart);
            if (rest.count(u'(') >= rest.count(u')'))
                break;
        } else if (!trailing.contains(last)) {
            break;
        }
        --end;
    }
    return end;
}
