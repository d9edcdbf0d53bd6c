// The link and mention scanners are hand-written for speed. Each must find exactly what the
// networks' own definitions, written here as regular expressions, find; random texts built
// from the characters where the two could part are run through both.
#include "text/bluesky_character_counter.h"
#include "text/bluesky_link_finder.h"
#include "text/graphemes.h"
#include "text/link_candidate_scanner.h"
#include "text/mastodon_character_counter.h"
#include "text/text_tokens.h"
#include "support/random_text.h"

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
using namespace Qt::StringLiterals;

constexpr int Rounds = 20000;

QString escaped(const QString& text)
{
    QString out;
    for (const char32_t cp : text.toUcs4())
        out += cp >= 0x20 && cp < 0x7F ? QString(QChar(cp)) : u"<U+%1>"_s.arg(uint(cp), 4, 16, QChar(u'0'));
    return out;
}

// X's and Mastodon's link shape.
QRegularExpression linkPattern(UrlFinder::Scheme scheme)
{
    const QString label = uR"([\p{L}\p{N}\p{M}\p{So}_\-])"_s;
    const QString rest = uR"([a-z0-9\x{00C0}-\x{024F}\x{0300}-\x{036F}\x{0400}-\x{04FF}\x{1E00}-\x{1EFF})"
                         uR"(!*';:=+,.$/%#\[\]\-\x{2013}_~&|@()?])"_s;
    const QString schemePart = scheme == UrlFinder::Scheme::required ? u"(https?://)"_s : u"(https?://)?"_s;
    return QRegularExpression(u"(?<!"_s + label + u")"_s + schemePart + u"((?:"_s + label + u"++\\.)+"_s + label
                                  + u"++)(:[0-9]{1,5})?([/?#]"_s + rest + u"*+)?"_s,
                              QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
}

LinkCandidateScanner::Candidates referenceCandidates(const QString& word, UrlFinder::Scheme scheme)
{
    static const QRegularExpression optional = linkPattern(UrlFinder::Scheme::optional);
    static const QRegularExpression required = linkPattern(UrlFinder::Scheme::required);
    const QRegularExpression& pattern = scheme == UrlFinder::Scheme::required ? required : optional;
    LinkCandidateScanner::Candidates found;
    for (auto matches = pattern.globalMatch(word); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        found.append({match.capturedStart(0), match.capturedStart(2), match.capturedEnd(2),
                      match.capturedLength(4) > 0 ? match.capturedStart(4) : -1, match.capturedEnd(0),
                      match.capturedLength(1) > 0});
    }
    return found;
}

TEST(LinkScanningTest, CandidatesMatchTheLinkPattern)
{
    RandomText words({u"a"_s, u"Z"_s, u"7"_s, u"."_s, u"."_s, u"-"_s, u"_"_s, u"/"_s, u"?"_s, u"#"_s, u":"_s,
                      u":8080"_s, u":1234567"_s, u"@"_s, u"("_s, u")"_s, u"%"_s, u"com"_s, u"http"_s, u"HTTPS"_s,
                      u"://"_s, u"\u00E9"_s, u"\u0301"_s, u"\u042F"_s, u"\U0001F600"_s, u"\u2013"_s, u"\u212A"_s,
                      u"\u00B5"_s, u"!"_s, u","_s, u"~"_s, u"="_s, u"&"_s, u"'"_s, u"["_s, u"|"_s, u"\u3042"_s,
                      u"\u00A0"_s, u".com"_s, u"a.b"_s, u".-"_s});
    for (int round = 0; round < Rounds; ++round) {
        const QString word = words.next(14);
        for (const auto scheme : {UrlFinder::Scheme::optional, UrlFinder::Scheme::required}) {
            ASSERT_EQ(LinkCandidateScanner::scan(word, scheme), referenceCandidates(word, scheme))
                << qPrintable(escaped(word)) << (scheme == UrlFinder::Scheme::required ? " (scheme required)" : "");
        }
    }
}

// The Bluesky client's rewriting, as it defines it: mend links broken over a line end,
// find the links, show them without scheme and cut to length.
QString referenceRepaired(const QString& text)
{
    static const QRegularExpression repair(u"(https?://[^\\s]+)\\s*\n\\s*([^\\s]+)"_s,
                                           QRegularExpression::UseUnicodePropertiesOption);
    return QString(text).replace(repair, u"\\1 \\2"_s);
}

QList<BlueskyLinkFinder::Span> referenceLinks(const QString& text)
{
    static const QString body = uR"((?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\.)+[a-zA-Z]{2,})"
                                uR"((?:/(?:[\w\-.~!$&'()*+,;=:@%]|(?:%[0-9a-fA-F]{2}))*)*/?)"
                                uR"((?:[#?](?:[\w\-.~!$&'()*+,;=:@%/?]|(?:%[0-9a-fA-F]{2}))*)?)"_s;
    static const QRegularExpression wordEnd(body + uR"((?=\s|$))"_s, QRegularExpression::UseUnicodePropertiesOption);
    static const QRegularExpression lineStart(body, QRegularExpression::UseUnicodePropertiesOption);
    QList<BlueskyLinkFinder::Span> spans;
    for (const TextTokens::Token& token : TextTokens::withInnerDot(text)) {
        for (auto matches = wordEnd.globalMatch(token.text); matches.hasNext();) {
            const QRegularExpressionMatch match = matches.next();
            spans.append({token.start + match.capturedStart(), token.start + match.capturedEnd()});
        }
        qsizetype before = token.start - 1;
        while (before >= 0 && text.at(before).isSpace() && text.at(before) != u'\n')
            --before;
        if (before < 0 || text.at(before) != u'\n')
            continue;
        const QRegularExpressionMatch match = lineStart.match(token.text, 0, QRegularExpression::NormalMatch,
                                                              QRegularExpression::AnchorAtOffsetMatchOption);
        if (match.hasMatch())
            spans.append({token.start, token.start + match.capturedLength()});
    }
    std::stable_sort(spans.begin(), spans.end(), [](auto a, auto b) { return a.start < b.start; });
    QList<BlueskyLinkFinder::Span> disjoint;
    for (const auto span : spans) {
        if (disjoint.isEmpty() || span.start >= disjoint.last().end)
            disjoint.append(span);
    }
    return disjoint;
}

QString referenceSentText(const QString& text)
{
    static const QRegularExpression notLinks(uR"(^\d+\.\d+\.\d+$|^\d+\.\d+$|^v\d+\.\d+$|^\.\w+$|^\w+\.$|^[^a-zA-Z0-9]+$)"_s);
    const QString repaired = referenceRepaired(text);
    QString sent;
    qsizetype copied = 0;
    for (const auto [start, end] : referenceLinks(repaired)) {
        const QString link = repaired.sliced(start, end - start);
        const bool hasScheme = link.startsWith(u"https://"_s) || link.startsWith(u"http://"_s);
        QString shown = link.startsWith(u"https://"_s) ? link.sliced(8) : link.startsWith(u"http://"_s) ? link.sliced(7) : link;
        if (shown.size() > BlueskyCharacterCounter::LinkDisplayLength)
            shown = shown.first(BlueskyCharacterCounter::LinkDisplayLength) + u"..."_s;
        const QUrl target(hasScheme ? link : u"https://"_s + link, QUrl::StrictMode);
        if (shown == link || link.contains(notLinks) || !target.isValid() || target.host().isEmpty())
            continue;
        sent += repaired.sliced(copied, start - copied) + shown;
        copied = end;
    }
    return sent + repaired.sliced(copied);
}

TEST(LinkScanningTest, BlueskyRewritesLinksAsItsClientDoes)
{
    RandomText texts({u"a"_s, u"b1"_s, u"Q"_s, u"-"_s, u"."_s, u"."_s, u"/"_s, u"?"_s, u"#"_s, u"%"_s, u"%2F"_s,
                      u"%zz"_s, u"_"_s, u"@"_s, u":"_s, u"com"_s, u"io"_s, u"http://"_s, u"https://"_s, u"HTTP://"_s,
                      u" "_s, u"\n"_s, u" \n "_s, u"\u00E9"_s, u"\u042F"_s, u"\U0001F600"_s, u"\u3000"_s,
                      QString(40, u'x'), QString(64, u'k'), u"\u0661"_s, u".-"_s, u"-b."_s, u"a.b"_s, u".com"_s,
                      u"x-"_s, u"/p"_s});
    for (int round = 0; round < Rounds; ++round) {
        const QString text = texts.next(20);
        ASSERT_EQ(BlueskyLinkFinder::find(referenceRepaired(text)), referenceLinks(referenceRepaired(text)))
            << qPrintable(escaped(text));
        ASSERT_EQ(BlueskyCharacterCounter::sentText(text), referenceSentText(text)) << qPrintable(escaped(text));
    }
}

// Mastodon's count with remote mentions as it defines them (no links in these texts).
qsizetype referenceMastodonLength(const QString& text)
{
    static const QRegularExpression mention(uR"((?<![=/\w])@([a-z0-9_]+(?:[.-]+[a-z0-9_]+)*)@\w+(?:[.-]+\w+)*)"_s,
                                            QRegularExpression::CaseInsensitiveOption
                                                | QRegularExpression::UseUnicodePropertiesOption);
    QString countable;
    qsizetype copied = 0;
    for (auto matches = mention.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        countable += text.sliced(copied, match.capturedStart() - copied) + u'@' + match.captured(1);
        copied = match.capturedEnd();
    }
    countable += text.sliced(copied);
    return Graphemes::count(countable);
}

TEST(LinkScanningTest, MastodonShortensRemoteMentionsAsItDefinesThem)
{
    RandomText texts({u"@"_s, u"@"_s, u"a"_s, u"B"_s, u"_"_s, u"1"_s, u"."_s, u"-"_s, u".-"_s, u"="_s, u"/"_s,
                      u"\u00E9"_s, u"\u042F"_s, u"\u212A"_s, u"\u017F"_s, u" "_s, u"\n"_s, u"\U0001F600"_s,
                      u"\u0301"_s, u"\U0001D7D8"_s, u"x.y"_s});
    for (int round = 0; round < Rounds; ++round) {
        const QString text = texts.next(16);
        ASSERT_EQ(MastodonCharacterCounter::length(text), referenceMastodonLength(text)) << qPrintable(escaped(text));
    }
}
} // namespace
