#include "support/random_text.h"
#include "text/graphemes.h"

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QTextBoundaryFinder>

#include <gtest/gtest.h>

namespace {
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
    static const QRegularExpression complex(QStringLiteral("[\\x{0900}-\\x{0EFF}]"));
    static const QRegularExpression other(QStringLiteral("[^\\x{0900}-\\x{0EFF}a-z ]"));
    static const QRegularExpression flagAfterPictograph(QStringLiteral("\\p{Extended_Pictographic}[\\x{1F1E6}-\\x{1F1FF}]"));
    return (!text.contains(complex) || !text.contains(other)) && !text.contains(flagAfterPictograph);
}

QString escaped(const QString& text)
{
    QString out;
    for (const char32_t cp : text.toUcs4())
        out += QStringLiteral("U+%1 ").arg(uint(cp), 4, 16, QChar(u'0'));
    return out;
}

// The count hands only the pieces around joining code points to the finder; it must agree
// with the finder run over the whole text, wherever such a piece begins or ends.
TEST(GraphemesTest, AgreesWithTheFinderOverTheWholeText)
{
    const QList<QString> pieces = {
        QStringLiteral("e\u0301"),                                         // combining mark
        QStringLiteral("\u0301"),                                          // mark with nothing before it
        QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"),      // ZWJ family
        QStringLiteral("\U0001F44D\U0001F3FD"),                            // skin tone
        QStringLiteral("\U0001F1EB\U0001F1F7\U0001F1E9\U0001F1EA\U0001F1EB"), // flags and a lone indicator
        QStringLiteral("\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"), // tag flag
        QStringLiteral("\r\n"), QStringLiteral("\r"), QStringLiteral("\n"),
        QStringLiteral("हिन्दी"), QStringLiteral("ก\u0E33"), QStringLiteral("\u0600\u0661"),          // Devanagari, Thai, prepended sign
        QStringLiteral("\u1100\u1161\u11A8"), QStringLiteral("\uAC00\u11A8"),             // Hangul jamo
        QStringLiteral("\u2764\uFE0F"), QStringLiteral("1\uFE0F\u20E3"), QStringLiteral("\u200D"),     // selectors, keycap, bare joiner
        QStringLiteral("\U0001F600\u200D"), QStringLiteral("\u200D\U0001F600"),
        QStringLiteral("\xD83D"), QStringLiteral("\xDE00"),                               // lone surrogates
        QStringLiteral("a"), QStringLiteral(" "), QStringLiteral("日本"),
    };
    QList<QString> texts = pieces;
    for (const QString& first : pieces) {
        for (const QString& second : pieces) {
            texts.append(first + second);
            texts.append(first + QStringLiteral("x") + second);
            texts.append(QStringLiteral("ab") + first + second + QStringLiteral("cd"));
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
        QStringLiteral("a"), QStringLiteral("Z"), QStringLiteral(" "), QStringLiteral("\u0301"), QStringLiteral("\u0323"), QStringLiteral("\u0483"), QStringLiteral("\u042F"), QStringLiteral("\u05D0"), QStringLiteral("\u05B8"),
        QStringLiteral("\u0628"), QStringLiteral("\u064E"), QStringLiteral("\u0670"), QStringLiteral("\u0600"), QStringLiteral("\u20E3"), QStringLiteral("\uFE0F"), QStringLiteral("\uFE0E"), QStringLiteral("\u200D"),
        QStringLiteral("\u200C"), QStringLiteral("\u200B"), QStringLiteral("\u00AD"), QStringLiteral("\r"), QStringLiteral("\n"), QStringLiteral("\u0007"), QStringLiteral("\u2028"), QStringLiteral("1"), QStringLiteral("#"),
        QStringLiteral("\u2764"), QStringLiteral("\u00A9"), QStringLiteral("\U0001F600"), QStringLiteral("\U0001F468"), QStringLiteral("\U0001F3FD"), QStringLiteral("\U0001F1EB"),
        QStringLiteral("\U0001F1F7"), QStringLiteral("\U000E0067"), QStringLiteral("\U000E007F"), QStringLiteral("\U0001F3F4"), QStringLiteral("\u1100"), QStringLiteral("\u1161"),
        QStringLiteral("\u11A8"), QStringLiteral("\uAC00"), QStringLiteral("\u3099"), QStringLiteral("\u304B"), QStringLiteral("\uFF9E"), QStringLiteral("\u0378"), QStringLiteral("\U000E0100"),
        QStringLiteral("\u1AB0"), QStringLiteral("\u1DC0"), QStringLiteral("\u0915"), QStringLiteral("\u094D"), QStringLiteral("\u093F"),
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
    EXPECT_EQ(Graphemes::count(QStringLiteral("हिन्दी")), 2);
    EXPECT_EQ(Graphemes::count(QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467हिन्दी")), 3);
    EXPECT_EQ(Graphemes::count(QStringLiteral("ab\U0001F44D\U0001F3FDहिन्दीcd")), 7);
    EXPECT_EQ(Graphemes::count(QStringLiteral("\U0001F44Dก\u0E33")), 2);
    EXPECT_EQ(Graphemes::count(QStringLiteral("\r\nहिन्दी")), 3);
    EXPECT_EQ(Graphemes::count(QStringLiteral("\u2764\uFE0Fहिन्दी")), 3);
    EXPECT_EQ(Graphemes::count(QStringLiteral("ก\u0E331\uFE0F\u20E3")), 2);
    EXPECT_EQ(Graphemes::count(QStringLiteral("\U0001F600\U0001F1EB\U0001F1F7")), 2); // a face, then a flag
    EXPECT_EQ(Graphemes::count(QStringLiteral("\u2764\U0001F1EB\U0001F1F7\U0001F1E9")), 3);
}
} // namespace
