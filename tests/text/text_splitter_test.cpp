#include "text/graphemes.h"
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
} // namespace
