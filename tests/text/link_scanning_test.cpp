// The link and mention scanners are hand-written for speed. Each must find exactly what the
// networks' own definitions, written here as regular expressions, find; random texts built
// from the characters where the two could part are run through both.
#include "support/random_text.h"
#include "text/bluesky_character_counter.h"
#include "text/bluesky_link_finder.h"
#include "text/graphemes.h"
#include "text/link_candidate_scanner.h"
#include "text/mastodon_character_counter.h"
#include "text/text_tokens.h"

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>

namespace {
constexpr int Rounds = 20000;

QString escaped(const QString& text)
{
    QString out;
    for (const char32_t cp : text.toUcs4())
        out += cp >= 0x20 && cp < 0x7F ? QString(QChar(cp)) : QStringLiteral("<U+%1>").arg(uint(cp), 4, 16, QChar(u'0'));
    return out;
}

// X's and Mastodon's link shape.
QRegularExpression linkPattern(UrlFinder::Scheme scheme)
{
    const QString label = QStringLiteral(R"([\p{L}\p{N}\p{M}\p{So}_\-])");
    const QString rest = QStringLiteral(R"([a-z0-9\x{00C0}-\x{024F}\x{0300}-\x{036F}\x{0400}-\x{04FF}\x{1E00}-\x{1EFF})"
                                        R"(!*';:=+,.$/%#\[\]\-\x{2013}_~&|@()?])");
    // A scheme may follow any character but an ASCII letter or digit (matched case-sensitively:
    // the Kelvin sign folds to k); a bare host no label character.
    const QString noAsciiBefore = QStringLiteral("(?-i:(?<![a-zA-Z0-9]))");
    const QString schemePart = scheme == UrlFinder::Scheme::required
                                   ? QString(noAsciiBefore + QStringLiteral("(https?://)"))
                                   : QString(QStringLiteral("(?:") + noAsciiBefore + QStringLiteral("(https?://)|(?<!") + label + QStringLiteral(")(?!https?://))"));
    return QRegularExpression(schemePart + QStringLiteral("((?:") + label + QStringLiteral("++\\.)+") + label
                                  + QStringLiteral("++)(:[0-9]{1,5})?([/?#]") + rest + QStringLiteral("*+)?"),
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
    RandomText words({QStringLiteral("a"), QStringLiteral("Z"), QStringLiteral("7"), QStringLiteral("."), QStringLiteral("."), QStringLiteral("-"), QStringLiteral("_"), QStringLiteral("/"), QStringLiteral("?"), QStringLiteral("#"), QStringLiteral(":"),
                      QStringLiteral(":8080"), QStringLiteral(":1234567"), QStringLiteral("@"), QStringLiteral("("), QStringLiteral(")"), QStringLiteral("%"), QStringLiteral("com"), QStringLiteral("http"), QStringLiteral("HTTPS"),
                      QStringLiteral("://"), QStringLiteral("\u00E9"), QStringLiteral("\u0301"), QStringLiteral("\u042F"), QStringLiteral("\U0001F600"), QStringLiteral("\u2013"), QStringLiteral("\u212A"),
                      QStringLiteral("\u00B5"), QStringLiteral("!"), QStringLiteral(","), QStringLiteral("~"), QStringLiteral("="), QStringLiteral("&"), QStringLiteral("'"), QStringLiteral("["), QStringLiteral("|"), QStringLiteral("\u3042"),
                      QStringLiteral("\u00A0"), QStringLiteral(".com"), QStringLiteral("a.b"), QStringLiteral(".-")});
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
    static const QRegularExpression repair(QStringLiteral("(https?://[^\\s]+)\\s*\n\\s*([^\\s]+)"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    return QString(text).replace(repair, QStringLiteral("\\1 \\2"));
}

QList<BlueskyLinkFinder::Span> referenceLinks(const QString& text)
{
    static const QString body = QStringLiteral(R"((?:https?://)?(?:[a-zA-Z0-9](?:[a-zA-Z0-9-]*[a-zA-Z0-9])?\.)+[a-zA-Z]{2,})"
                                               R"((?:/(?:[\w\-.~!$&'()*+,;=:@%]|(?:%[0-9a-fA-F]{2}))*)*/?)"
                                               R"((?:[#?](?:[\w\-.~!$&'()*+,;=:@%/?]|(?:%[0-9a-fA-F]{2}))*)?)");
    static const QRegularExpression wordEnd(body + QStringLiteral(R"((?=\s|$))"), QRegularExpression::UseUnicodePropertiesOption);
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
    static const QRegularExpression notLinks(QStringLiteral(R"(^\d+\.\d+\.\d+$|^\d+\.\d+$|^v\d+\.\d+$|^\.\w+$|^\w+\.$|^[^a-zA-Z0-9]+$)"));
    const QString repaired = referenceRepaired(text);
    QString sent;
    qsizetype copied = 0;
    for (const auto [start, end] : referenceLinks(repaired)) {
        const QString link = repaired.sliced(start, end - start);
        const bool hasScheme = link.startsWith(QStringLiteral("https://")) || link.startsWith(QStringLiteral("http://"));
        QString shown = link.startsWith(QStringLiteral("https://")) ? link.sliced(8) : link.startsWith(QStringLiteral("http://")) ? link.sliced(7) : link;
        if (shown.size() > BlueskyCharacterCounter::LinkDisplayLength)
            shown = shown.first(BlueskyCharacterCounter::LinkDisplayLength) + QStringLiteral("...");
        const QUrl target(hasScheme ? link : QStringLiteral("https://") + link, QUrl::StrictMode);
        if (shown == link || link.contains(notLinks) || !target.isValid() || target.host().isEmpty())
            continue;
        sent += repaired.sliced(copied, start - copied) + shown;
        copied = end;
    }
    return sent + repaired.sliced(copied);
}

TEST(LinkScanningTest, BlueskyRewritesLinksAsItsClientDoes)
{
    RandomText texts({QStringLiteral("a"), QStringLiteral("b1"), QStringLiteral("Q"), QStringLiteral("-"), QStringLiteral("."), QStringLiteral("."), QStringLiteral("/"), QStringLiteral("?"), QStringLiteral("#"), QStringLiteral("%"), QStringLiteral("%2F"),
                      QStringLiteral("%zz"), QStringLiteral("_"), QStringLiteral("@"), QStringLiteral(":"), QStringLiteral("com"), QStringLiteral("io"), QStringLiteral("http://"), QStringLiteral("https://"), QStringLiteral("HTTP://"),
                      QStringLiteral(" "), QStringLiteral("\n"), QStringLiteral(" \n "), QStringLiteral("\u00E9"), QStringLiteral("\u042F"), QStringLiteral("\U0001F600"), QStringLiteral("\u3000"),
                      QString(40, u'x'), QString(64, u'k'), QStringLiteral("\u0661"), QStringLiteral(".-"), QStringLiteral("-b."), QStringLiteral("a.b"), QStringLiteral(".com"),
                      QStringLiteral("x-"), QStringLiteral("/p")});
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
    static const QRegularExpression mention(QStringLiteral(R"((?<![=/\w])@([a-z0-9_]++(?:[.-]++[a-z0-9_]++)*+)@\w++(?:[.-]++\w++)*+(?!@|://))"),
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
    RandomText texts({QStringLiteral("@"), QStringLiteral("@"), QStringLiteral("a"), QStringLiteral("B"), QStringLiteral("_"), QStringLiteral("1"), QStringLiteral("."), QStringLiteral("-"), QStringLiteral(".-"), QStringLiteral("="), QStringLiteral("/"),
                      QStringLiteral("\u00E9"), QStringLiteral("\u042F"), QStringLiteral("\u212A"), QStringLiteral("\u017F"), QStringLiteral(" "), QStringLiteral("\n"), QStringLiteral("\U0001F600"),
                      QStringLiteral("\u0301"), QStringLiteral("\U0001D7D8"), QStringLiteral("x.y"), QStringLiteral("://"), QStringLiteral(":")});
    for (int round = 0; round < Rounds; ++round) {
        const QString text = texts.next(16);
        ASSERT_EQ(MastodonCharacterCounter::length(text), referenceMastodonLength(text)) << qPrintable(escaped(text));
    }
}
} // namespace
