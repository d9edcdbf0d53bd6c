#include "text/graphemes.h"
#include "support/random_text.h"

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QTextBoundaryFinder>

#include <gtest/gtest.h>

namespace {
using namespace Qt::StringLiterals;

qsizetype finderCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype clusters = 0;
    while (finder.toNextBoundary() != -1)
        ++clusters;
    return clusters;
}

// Qt's finder miscounts Indic and Thai text that shares a text with multi-code-point
// clusters (an emoji, a variation selector, CR LF) before or after it; such texts are
// checked against known counts instead. It also splits a flag that directly follows a
// pictograph into its two indicators.
bool finderIsReliable(const QString& text)
{
    static const QRegularExpression complex(u"[\\x{0900}-\\x{0EFF}]"_s);
    static const QRegularExpression other(u"[^\\x{0900}-\\x{0EFF}a-z ]"_s);
    static const QRegularExpression flagAfterPictograph(u"\\p{Extended_Pictographic}[\\x{1F1E6}-\\x{1F1FF}]"_s);
    return (!text.contains(complex) || !text.contains(other)) && !text.contains(flagAfterPictograph);
}

QString escaped(const QString& text)
{
    QString out;
    for (const char32_t cp : text.toUcs4())
        out += u"U+%1 "_s.arg(uint(cp), 4, 16, QChar(u'0'));
    return out;
}

// The count hands only the pieces around joining code points to the finder; it must agree
// with the finder run over the whole text, wherever such a piece begins or ends.
TEST(GraphemesTest, AgreesWithTheFinderOverTheWholeText)
{
    const QList<QString> pieces = {
        u"e\u0301"_s,                                         // combining mark
        u"\u0301"_s,                                          // mark with nothing before it
        u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s,      // ZWJ family
        u"\U0001F44D\U0001F3FD"_s,                            // skin tone
        u"\U0001F1EB\U0001F1F7\U0001F1E9\U0001F1EA\U0001F1EB"_s, // flags and a lone indicator
        u"\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"_s, // tag flag
        u"\r\n"_s, u"\r"_s, u"\n"_s,
        u"हिन्दी"_s, u"ก\u0E33"_s, u"\u0600\u0661"_s,          // Devanagari, Thai, prepended sign
        u"\u1100\u1161\u11A8"_s, u"\uAC00\u11A8"_s,             // Hangul jamo
        u"\u2764\uFE0F"_s, u"1\uFE0F\u20E3"_s, u"\u200D"_s,     // selectors, keycap, bare joiner
        u"\U0001F600\u200D"_s, u"\u200D\U0001F600"_s,
        u"\xD83D"_s, u"\xDE00"_s,                               // lone surrogates
        u"a"_s, u" "_s, u"日本"_s,
    };
    QList<QString> texts = pieces;
    for (const QString& first : pieces) {
        for (const QString& second : pieces) {
            texts.append(first + second);
            texts.append(first + u"x"_s + second);
            texts.append(u"ab"_s + first + second + u"cd"_s);
        }
    }
    texts.append(QString());
    for (const QString& text : texts) {
        if (finderIsReliable(text)) {
            EXPECT_EQ(Graphemes::count(text), finderCount(text)) << qPrintable(escaped(text));
        }
    }
}

// Random mixes of what the fast path handles itself (marks of the Latin, Cyrillic, Hebrew
// and Arabic blocks, emoji sequences, indicators, selectors, controls) and what it hands to
// the finder (jamo, format characters, unassigned code points, Indic text).
TEST(GraphemesTest, AgreesWithTheFinderOnRandomMixes)
{
    RandomText texts({
        u"a"_s, u"Z"_s, u" "_s, u"\u0301"_s, u"\u0323"_s, u"\u0483"_s, u"\u042F"_s, u"\u05D0"_s, u"\u05B8"_s,
        u"\u0628"_s, u"\u064E"_s, u"\u0670"_s, u"\u0600"_s, u"\u20E3"_s, u"\uFE0F"_s, u"\uFE0E"_s, u"\u200D"_s,
        u"\u200C"_s, u"\u200B"_s, u"\u00AD"_s, u"\r"_s, u"\n"_s, u"\u0007"_s, u"\u2028"_s, u"1"_s, u"#"_s,
        u"\u2764"_s, u"\u00A9"_s, u"\U0001F600"_s, u"\U0001F468"_s, u"\U0001F3FD"_s, u"\U0001F1EB"_s,
        u"\U0001F1F7"_s, u"\U000E0067"_s, u"\U000E007F"_s, u"\U0001F3F4"_s, u"\u1100"_s, u"\u1161"_s,
        u"\u11A8"_s, u"\uAC00"_s, u"\u3099"_s, u"\u304B"_s, u"\uFF9E"_s, u"\u0378"_s, u"\U000E0100"_s,
        u"\u1AB0"_s, u"\u1DC0"_s, u"\u0915"_s, u"\u094D"_s, u"\u093F"_s,
    });
    for (int round = 0; round < 20000; ++round) {
        const QString text = texts.next(10);
        if (finderIsReliable(text)) {
            ASSERT_EQ(Graphemes::count(text), finderCount(text)) << qPrintable(escaped(text));
        }
    }
}

// Where the finder is not to be trusted the count still is: a cluster, then a conjunct;
// a pictograph, then a flag.
TEST(GraphemesTest, IndicAndThaiTextAfterAnEmojiCountAsOnTheirOwn)
{
    EXPECT_EQ(Graphemes::count(u"हिन्दी"_s), 2);
    EXPECT_EQ(Graphemes::count(u"\U0001F468\u200D\U0001F469\u200D\U0001F467हिन्दी"_s), 3);
    EXPECT_EQ(Graphemes::count(u"ab\U0001F44D\U0001F3FDहिन्दीcd"_s), 7);
    EXPECT_EQ(Graphemes::count(u"\U0001F44Dก\u0E33"_s), 2);
    EXPECT_EQ(Graphemes::count(u"\r\nहिन्दी"_s), 3);
    EXPECT_EQ(Graphemes::count(u"\u2764\uFE0Fहिन्दी"_s), 3);
    EXPECT_EQ(Graphemes::count(u"ก\u0E331\uFE0F\u20E3"_s), 2);
    EXPECT_EQ(Graphemes::count(u"\U0001F600\U0001F1EB\U0001F1F7"_s), 2); // a face, then a flag
    EXPECT_EQ(Graphemes::count(u"\u2764\U0001F1EB\U0001F1F7\U0001F1E9"_s), 3);
}
} // namespace
