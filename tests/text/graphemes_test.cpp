#include "support/golden.h"
#include "support/random_text.h"
#include "text/graphemes.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

#include <gtest/gtest.h>

namespace {
struct ReferenceText {
    QString text;
    QList<qsizetype> ends;
};

// Texts segmented by Intl.Segmenter (scripts/generate-grapheme-table.mjs), drawn from code
// points of every break class and Indic conjunct class.
QList<ReferenceText> referenceTexts()
{
    QList<ReferenceText> texts;
    const QByteArray data = readGolden("grapheme_reference.txt");
    for (const QByteArray& line : data.split('\n')) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QList<QByteArray> halves = line.split(';');
        ReferenceText reference;
        for (const QByteArray& hex : halves.at(0).split(' '))
            reference.text += QString::fromUcs4(std::array{char32_t(hex.toUInt(nullptr, 16))}.data(), 1);
        for (const QByteArray& end : halves.at(1).split(' '))
            reference.ends.append(end.toLongLong());
        texts.append(reference);
    }
    return texts;
}

QString escaped(const QString& text)
{
    QString out;
    for (const char32_t cp : text.toUcs4())
        out += QStringLiteral("U+%1 ").arg(uint(cp), 4, 16, QChar(u'0'));
    return out;
}

TEST(GraphemesTest, AgreesWithUnicodeOnGeneratedTexts)
{
    const QList<ReferenceText> texts = referenceTexts();
    ASSERT_GT(texts.size(), 5000);
    for (const ReferenceText& reference : texts) {
        ASSERT_EQ(Graphemes::clusterEnds(reference.text), reference.ends) << qPrintable(escaped(reference.text));
        ASSERT_EQ(Graphemes::count(reference.text), reference.ends.size());
    }
}

// Longer mixes of the same texts: the rules that look back (flags, emoji joins, conjuncts)
// must not leak across a text's clusters, and any boundary is a fresh start.
TEST(GraphemesTest, ConcatenationsKeepEachPartsBoundariesAndRestartAnywhere)
{
    const QList<ReferenceText> texts = referenceTexts();
    QStringList pieces;
    for (qsizetype i = 0; i < 300; ++i)
        pieces.append(texts.at(i).text);
    RandomText random(pieces);
    for (int round = 0; round < 2000; ++round) {
        const QString text = random.next(8);
        const QList<qsizetype> ends = Graphemes::clusterEnds(text);
        ASSERT_FALSE(ends.isEmpty());
        ASSERT_EQ(ends.last(), text.size());
        qsizetype start = 0;
        for (const qsizetype end : ends) {
            ASSERT_EQ(Graphemes::clusterEnd(text, start), end) << qPrintable(escaped(text));
            // Never between the halves of a surrogate pair.
            ASSERT_FALSE(end < text.size() && text.at(end).isLowSurrogate() && text.at(end - 1).isHighSurrogate());
            start = end;
        }
    }
}

struct CountCase {
    const char* name;
    QString text;
    qsizetype expected;
};

TEST(GraphemesTest, CountsIndicThaiAndEmojiTextAsUnicodeDoes)
{
    const QString hindi = QStringLiteral("हिन्दी");    // हि + न्दी (a conjunct)
    const QString kssa = QStringLiteral("\u0915\u094D\u0937"); // क्ष, one cluster since Unicode 15.1
    const QString flag = QStringLiteral("\U0001F1E7\U0001F1F4");
    QString lone;
    lone += QChar(0xD800);
    lone += QChar(0x0301);
    lone += QChar(0xDC00);
    const QList<CountCase> cases = {
        {"conjuncts", hindi, 2},
        {"a conjunct joined by a linker", kssa, 1},
        {"a conjunct with a joiner after the virama", QStringLiteral("\u0915\u094D\u200D\u0937"), 1},
        {"Hindi with flags", QString(hindi + flag).repeated(50), 150},
        {"Thai ending in an emoji", QStringLiteral("สวัสดีครับ\U0001F389"), 8},
        {"a flag after an emoji", QString(QStringLiteral("\U0001F600") + flag).repeated(187), 374},
        {"three indicators", flag + QStringLiteral("\U0001F1E6"), 2},
        {"family", QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1},
        {"CR LF", QStringLiteral("a\r\nb"), 3},
        {"Hangul jamo", QStringLiteral("\u1100\u1161\u11A8\u1100"), 2},
        {"prepended sign", QStringLiteral("\u0600\u0661"), 1},
        {"lone surrogates and a mark after one stand alone", lone, 3},
        {"empty", QString(), 0},
    };
    for (const CountCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Graphemes::count(c.text), c.expected) << qPrintable(escaped(c.text));
    }
}
} // namespace
