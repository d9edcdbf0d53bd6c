#include "text/url_finder.h"

#include "text/link_candidate_scanner.h"
#include "text/text_tokens.h"

#include <QUrl>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <optional>

namespace {
using namespace Qt::StringLiterals;

// Generic top-level domains a bare domain may end in. Two-letter country domains are
// accepted as a class; X keeps a longer list, these are the ones seen in practice.
constexpr std::array GenericTlds = {
    "academy"_L1, "aero"_L1, "agency"_L1, "app"_L1, "art"_L1, "asia"_L1, "audio"_L1, "bank"_L1,
    "bar"_L1, "bike"_L1, "biz"_L1, "blog"_L1, "book"_L1, "builders"_L1, "business"_L1, "cafe"_L1,
    "camp"_L1, "capital"_L1, "care"_L1, "careers"_L1, "cat"_L1, "center"_L1, "chat"_L1, "city"_L1,
    "click"_L1, "cloud"_L1, "club"_L1, "codes"_L1, "coffee"_L1, "com"_L1, "community"_L1,
    "company"_L1, "consulting"_L1, "coop"_L1, "design"_L1, "dev"_L1, "digital"_L1, "direct"_L1,
    "directory"_L1, "earth"_L1, "edu"_L1, "education"_L1, "email"_L1, "energy"_L1,
    "engineering"_L1, "events"_L1, "expert"_L1, "fan"_L1, "farm"_L1, "film"_L1, "finance"_L1,
    "fit"_L1, "foundation"_L1, "fun"_L1, "fund"_L1, "games"_L1, "garden"_L1, "gay"_L1, "gift"_L1,
    "global"_L1, "gov"_L1, "graphics"_L1, "group"_L1, "guide"_L1, "guru"_L1, "health"_L1,
    "help"_L1, "host"_L1, "house"_L1, "how"_L1, "info"_L1, "ink"_L1, "int"_L1, "international"_L1,
    "jobs"_L1, "land"_L1, "law"_L1, "life"_L1, "link"_L1, "live"_L1, "llc"_L1, "love"_L1,
    "ltd"_L1, "marketing"_L1, "media"_L1, "mil"_L1, "mobi"_L1, "moe"_L1, "money"_L1, "movie"_L1,
    "museum"_L1, "music"_L1, "name"_L1, "net"_L1, "network"_L1, "new"_L1, "news"_L1, "ngo"_L1,
    "ninja"_L1, "one"_L1, "online"_L1, "org"_L1, "page"_L1, "partners"_L1, "photo"_L1,
    "photography"_L1, "photos"_L1, "pics"_L1, "pizza"_L1, "place"_L1, "plus"_L1, "post"_L1,
    "pro"_L1, "productions"_L1, "pub"_L1, "radio"_L1, "red"_L1, "rocks"_L1, "run"_L1, "school"_L1,
    "science"_L1, "services"_L1, "shop"_L1, "show"_L1, "site"_L1, "social"_L1, "software"_L1,
    "solutions"_L1, "space"_L1, "store"_L1, "stream"_L1, "studio"_L1, "style"_L1, "support"_L1,
    "systems"_L1, "team"_L1, "tech"_L1, "technology"_L1, "tel"_L1, "today"_L1, "tools"_L1,
    "top"_L1, "travel"_L1, "tube"_L1, "university"_L1, "video"_L1, "vip"_L1, "watch"_L1,
    "website"_L1, "wiki"_L1, "work"_L1, "works"_L1, "world"_L1, "wtf"_L1, "xxx"_L1, "xyz"_L1,
    "zone"_L1,
};

bool isGenericTld(QStringView tld)
{
    return std::any_of(GenericTlds.begin(), GenericTlds.end(),
                       [tld](QLatin1String known) { return tld.compare(known, Qt::CaseInsensitive) == 0; });
}

bool isAscii(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

bool isAllLetters(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size()) {
            if (!QChar::isLetter(QChar::surrogateToUcs4(c, text.at(++i))))
                return false;
        } else if (!c.isLetter() && !QChar::isMark(c.unicode())) {
            return false;
        }
    }
    return true;
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
        return false;
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
    if (tld.size() < 2 || !isAllLetters(tld))
        return false;
    if (hasScheme)
        return true;
    if (tld.size() != 2)
        return isGenericTld(tld);
    // A bare "name.cc" is too often a file name or a typo; X links it only with a path,
    // except for the short-link domains it knows.
    const bool shortLinkTld = tld.compare(u"co", Qt::CaseInsensitive) == 0
                              || tld.compare(u"tv", Qt::CaseInsensitive) == 0;
    return labels.size() > 2 || hasPath || shortLinkTld;
}

bool isForbiddenBefore(QChar c, bool hasScheme)
{
    static const QString always = QStringLiteral(u"@\uFF20$#\uFF03");
    if (always.contains(c))
        return true;
    return !hasScheme && (c == u'.' || c == u'/');
}

// Sentence punctuation after a link is not part of it; a closing parenthesis is, when it
// closes one opened inside the link.
qsizetype trimmedEnd(QStringView text, qsizetype restStart, qsizetype end)
{
    static const QString trailing = QStringLiteral(u".,;:!?*'$%[]~|@(");
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
// The candidate as a link, unless what stands before it or its host rules it out.
std::optional<UrlFinder::Range> accepted(QStringView text, qsizetype offset, const LinkCandidateScanner::Candidate& candidate)
{
    const qsizetype start = offset + candidate.start;
    if (start > 0 && isForbiddenBefore(text.at(start - 1), candidate.hasScheme))
        return std::nullopt;
    qsizetype end = offset + candidate.end;
    const bool hasRest = candidate.restStart >= 0;
    if (hasRest)
        end = trimmedEnd(text, offset + candidate.restStart, end);
    const bool hasPath = hasRest && end > offset + candidate.restStart;
    const QStringView host = text.sliced(offset + candidate.hostStart, candidate.hostEnd - candidate.hostStart);
    if (!isValidHost(host, candidate.hasScheme, hasPath))
        return std::nullopt;
    return UrlFinder::Range{start, end - start};
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
