#include "support/random_text.h"
#include "text/graphemes.h"
#include "text/platform_character_counter.h"
#include "text/text_splitter.h"

#include <gtest/gtest.h>

namespace {
const QString Family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466");
const QString Flags = QStringLiteral("\U0001F1EB\U0001F1F7\U0001F1E9\U0001F1EA"); // two flags, four code points

QString repeat(const QString& unit, qsizetype times)
{
    return unit.repeated(times);
}

// What every result of chunk must satisfy: nothing lost, nothing empty, nothing too long.
void expectWholeAndBounded(const QString& text, const QStringList& pieces, qsizetype limit)
{
    EXPECT_EQ(pieces.join(QString()), text);
    for (const QString& piece : pieces) {
        EXPECT_FALSE(piece.isEmpty());
        EXPECT_LE(Graphemes::count(piece), std::max<qsizetype>(limit, 1)) << qPrintable(piece);
    }
}

struct SplitCase {
    const char* name;
    QString text;
    qsizetype limit;
    QStringList expected;
};

TEST(TextSplitterTest, SplitsAtWhitespaceSeparatorsAndClusterBoundaries)
{
    const QString word300 = QString(300, u'w');
    const QString paragraph280 = QString(279, u'p') + u'.';
    const QList<SplitCase> cases = {
        {"space at the limit stays with the first piece", QStringLiteral("a b"), 2, {QStringLiteral("a "), QStringLiteral("b")}},
        {"a word longer than the limit is cut hard", word300, 280, {word300.first(280), word300.last(20)}},
        {"a part exactly at the limit stays whole", paragraph280, 280, {paragraph280}},
        {"walks back to the last space that fits", QStringLiteral("hello world foo"), 8, {QStringLiteral("hello "), QStringLiteral("world "), QStringLiteral("foo")}},
        {"a line feed is whitespace", QStringLiteral("ab\ncd"), 4, {QStringLiteral("ab\n"), QStringLiteral("cd")}},
        {"the walk never passes the start", QStringLiteral("abcdefgh ij"), 4, {QStringLiteral("abcd"), QStringLiteral("efgh"), QStringLiteral(" ij")}},
        {"separator gives posts", QStringLiteral("one") + TextSplitter::Separator + QStringLiteral("two"), 3, {QStringLiteral("one"), QStringLiteral("two")}},
        {"separator whatever the limit", QStringLiteral("one") + TextSplitter::Separator + QStringLiteral("two"), 10000, {QStringLiteral("one"), QStringLiteral("two")}},
        {"separator at the very start", TextSplitter::Separator + QStringLiteral("x"), 280, {QString(), QStringLiteral("x")}},
        {"only separators", TextSplitter::Separator + TextSplitter::Separator, 280, {QString(), QString(), QString()}},
        {"a long part between separators is chunked", QStringLiteral("a b c") + TextSplitter::Separator + QStringLiteral("d"), 2,
         {QStringLiteral("a "), QStringLiteral("b "), QStringLiteral("c"), QStringLiteral("d")}},
        {"nothing is trimmed around a separator", QStringLiteral("x \n\n---\n\n y"), 280, {QStringLiteral("x "), QStringLiteral(" y")}},
        {"an emoji family is one character", repeat(Family, 3), 2, {repeat(Family, 2), Family}},
        {"flags pair up", Flags, 1, {Flags.first(4), Flags.sliced(4)}},
        {"combining marks stay on their letter", repeat(QStringLiteral("e\u0301"), 3), 2, {repeat(QStringLiteral("e\u0301"), 2), QStringLiteral("e\u0301")}},
        {"CR LF is one character", QStringLiteral("a\r\nb"), 2, {QStringLiteral("a\r\n"), QStringLiteral("b")}},
        {"whitespace only", QStringLiteral("     "), 2, {QStringLiteral("  "), QStringLiteral("  "), QStringLiteral(" ")}},
        {"limit 1", QStringLiteral("ab c"), 1, {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral(" "), QStringLiteral("c")}},
        {"limit 0 is taken as 1", QStringLiteral("ab"), 0, {QStringLiteral("a"), QStringLiteral("b")}},
        {"negative limit is taken as 1", Family + QStringLiteral("x"), -5, {Family, QStringLiteral("x")}},
        {"empty text gives no posts", QString(), 280, {}},
    };
    for (const SplitCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(TextSplitter::split(c.text, c.limit), c.expected);
    }
}

TEST(TextSplitterTest, ChunkKeepsEveryCharacterOfHostileInput)
{
    QString loneSurrogates = QStringLiteral("a");
    loneSurrogates += QChar(0xD800);
    loneSurrogates += QStringLiteral("b ");
    loneSurrogates += QChar(0xDC00);
    loneSurrogates += QStringLiteral("\U0001F600");
    loneSurrogates += QChar(0xD83D); // a high surrogate cut off at the very end

    const struct {
        const char* name;
        QString text;
        qsizetype limit;
    } cases[] = {
        {"lone surrogates", loneSurrogates, 1},
        {"lone surrogates, wider limit", loneSurrogates, 3},
        {"mixed scripts", QStringLiteral("Ελληνικά 日本語のテキスト עברית \u0915\u094D\u0937 text"), 5},
        {"combining marks piled up", QStringLiteral("a") + QString(40, QChar(0x0301)) + QStringLiteral(" b"), 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        expectWholeAndBounded(c.text, TextSplitter::chunk(c.text, c.limit), c.limit);
    }
}

TEST(TextSplitterTest, TenMegabytesWithoutASpaceTerminates)
{
    const QString text(10 * 1024 * 1024, u'x');
    const QStringList pieces = TextSplitter::split(text, 280);
    ASSERT_EQ(pieces.size(), (text.size() + 279) / 280);
    EXPECT_EQ(pieces.first().size(), 280);
    EXPECT_EQ(pieces.join(QString()), text);
}
// Every cut of a split lies on a cluster boundary of the whole text, so each piece is valid
// text (no half of a surrogate pair) and holds whole clusters.
void expectCutsOnBoundaries(const QString& text, const QStringList& pieces)
{
    const QList<qsizetype> ends = Graphemes::clusterEnds(text);
    qsizetype at = 0;
    for (const QString& piece : pieces) {
        ASSERT_FALSE(piece.isEmpty());
        at += piece.size();
        ASSERT_TRUE(ends.contains(at)) << "cut at " << at << " in " << qPrintable(text);
    }
    ASSERT_EQ(at, text.size());
}

RandomText mixedScripts()
{
    return RandomText({
        QStringLiteral("สวัสดี"), QStringLiteral("ครับ"), QStringLiteral("हिन्दी"), QStringLiteral("क्ष"), QStringLiteral("নমস্কার"),
        QStringLiteral("日本語"), QStringLiteral("한국어"), QStringLiteral("\u1100\u1161\u11A8"), QStringLiteral("word"), QStringLiteral(" "),
        QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\U0001F389"), QStringLiteral("\U0001F600"), QStringLiteral("\U0001F1E7\U0001F1F4"),
        QStringLiteral("\U0001F1E7"), QStringLiteral("\U0001F44D\U0001F3FD"), Family, QStringLiteral("e\u0301"), QStringLiteral("\u0301"),
        QStringLiteral("\u0600"), QStringLiteral("https://example.com/path"), QStringLiteral("x.ai"), QStringLiteral("@ada@example.social"),
        QStringLiteral("\u200D"), QStringLiteral("\uFE0F"), QString(QChar(0xD83D)), QString(QChar(0xDC00)),
    });
}

TEST(TextSplitterTest, EveryPieceOfGeneratedTextsIsWholeClustersWithinTheLimit)
{
    RandomText texts = mixedScripts();
    for (int round = 0; round < 3000; ++round) {
        const QString text = texts.next(120);
        const qsizetype limit = 1 + round % 97;
        const QStringList pieces = TextSplitter::chunk(text, limit);
        SCOPED_TRACE(qPrintable(text));
        expectCutsOnBoundaries(text, pieces);
        for (const QString& piece : pieces)
            ASSERT_LE(Graphemes::count(piece), limit);
    }
}

TEST(TextSplitterTest, PiecesForNetworksFitEveryNetworkChosen)
{
    const QList<QList<PlatformType>> choices = {
        {PlatformType::x},
        {PlatformType::bluesky},
        {PlatformType::mastodon},
        {PlatformType::x, PlatformType::bluesky, PlatformType::mastodon},
    };
    RandomText texts = mixedScripts();
    for (int round = 0; round < 400; ++round) {
        const QString text = texts.next(400);
        const QList<PlatformType>& networks = choices.at(round % choices.size());
        const QStringList pieces = TextSplitter::splitFor(text, networks, 120, 280);
        SCOPED_TRACE(qPrintable(text));
        expectCutsOnBoundaries(text, pieces);
        for (const QString& piece : pieces) {
            if (Graphemes::count(piece) > 1) {
                ASSERT_TRUE(TextSplitter::fitsAll(piece, networks, 120)) << qPrintable(piece);
            }
        }
    }
}

TEST(TextSplitterTest, CutsWhereEachNetworkRunsOut)
{
    // CJK weighs 2 on X, so 140 characters fill a post there.
    const QString cjk = QString(400, QChar(0x65E5));
    const QStringList forX = TextSplitter::splitFor(cjk, {PlatformType::x}, 500, 280);
    EXPECT_EQ(forX.first().size(), 140);
    // A family emoji takes 25 bytes: Bluesky's 3,000 bytes run out before its 300 characters.
    const QString families = Family.repeated(280);
    const QStringList forBluesky = TextSplitter::splitFor(families, {PlatformType::bluesky}, 500, 280);
    EXPECT_EQ(forBluesky.first(), Family.repeated(120));
    // Without networks, the plain rule.
    EXPECT_EQ(TextSplitter::splitFor(cjk, {}, 500, 280).first().size(), 280);
    // Separators stay the user's breaks.
    const QString text = QStringLiteral("one") + TextSplitter::Separator + QStringLiteral("two");
    EXPECT_EQ(TextSplitter::splitFor(text, {PlatformType::x}, 500, 280), QStringList({QStringLiteral("one"), QStringLiteral("two")}));
}

TEST(TextSplitterTest, KeepsSurrogatePairsAndFlagsWhole)
{
    const QString thai = QStringLiteral("สวัสดีครับ ").repeated(30) + QStringLiteral("\U0001F389");
    for (const QString& text : {thai, QString(QStringLiteral("\U0001F600\U0001F1E7\U0001F1F4")).repeated(187)}) {
        const QStringList pieces = TextSplitter::split(text, 280);
        expectCutsOnBoundaries(text, pieces);
        for (const QString& piece : pieces) {
            EXPECT_FALSE(piece.back().isHighSurrogate());
            EXPECT_FALSE(piece.front().isLowSurrogate());
            EXPECT_FALSE(piece.startsWith(QStringLiteral("\U0001F1F4")));
        }
    }
}
} // namespace
