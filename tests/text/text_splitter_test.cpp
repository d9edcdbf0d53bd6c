#include "text/graphemes.h"
#include "text/text_splitter.h"

#include <gtest/gtest.h>

namespace {
using namespace Qt::StringLiterals;

const QString Family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_s;
const QString Flags = u"\U0001F1EB\U0001F1F7\U0001F1E9\U0001F1EA"_s; // two flags, four code points

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
        {"space at the limit stays with the first piece", u"a b"_s, 2, {u"a "_s, u"b"_s}},
        {"a word longer than the limit is cut hard", word300, 280, {word300.first(280), word300.last(20)}},
        {"a part exactly at the limit stays whole", paragraph280, 280, {paragraph280}},
        {"walks back to the last space that fits", u"hello world foo"_s, 8, {u"hello "_s, u"world "_s, u"foo"_s}},
        {"a line feed is whitespace", u"ab\ncd"_s, 4, {u"ab\n"_s, u"cd"_s}},
        {"the walk never passes the start", u"abcdefgh ij"_s, 4, {u"abcd"_s, u"efgh"_s, u" ij"_s}},
        {"separator gives posts", u"one"_s + TextSplitter::Separator + u"two"_s, 3, {u"one"_s, u"two"_s}},
        {"separator whatever the limit", u"one"_s + TextSplitter::Separator + u"two"_s, 10000, {u"one"_s, u"two"_s}},
        {"separator at the very start", TextSplitter::Separator + u"x"_s, 280, {QString(), u"x"_s}},
        {"only separators", TextSplitter::Separator + TextSplitter::Separator, 280, {QString(), QString(), QString()}},
        {"a long part between separators is chunked", u"a b c"_s + TextSplitter::Separator + u"d"_s, 2,
         {u"a "_s, u"b "_s, u"c"_s, u"d"_s}},
        {"nothing is trimmed around a separator", u"x \n\n---\n\n y"_s, 280, {u"x "_s, u" y"_s}},
        {"an emoji family is one character", repeat(Family, 3), 2, {repeat(Family, 2), Family}},
        {"flags pair up", Flags, 1, {Flags.first(4), Flags.sliced(4)}},
        {"combining marks stay on their letter", repeat(u"e\u0301"_s, 3), 2, {repeat(u"e\u0301"_s, 2), u"e\u0301"_s}},
        {"CR LF is one character", u"a\r\nb"_s, 2, {u"a\r\n"_s, u"b"_s}},
        {"whitespace only", u"     "_s, 2, {u"  "_s, u"  "_s, u" "_s}},
        {"limit 1", u"ab c"_s, 1, {u"a"_s, u"b"_s, u" "_s, u"c"_s}},
        {"limit 0 is taken as 1", u"ab"_s, 0, {u"a"_s, u"b"_s}},
        {"negative limit is taken as 1", Family + u"x"_s, -5, {Family, u"x"_s}},
        {"empty text gives no posts", QString(), 280, {}},
    };
    for (const SplitCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(TextSplitter::split(c.text, c.limit), c.expected);
    }
}

TEST(TextSplitterTest, ChunkKeepsEveryCharacterOfHostileInput)
{
    QString loneSurrogates = u"a"_s;
    loneSurrogates += QChar(0xD800);
    loneSurrogates += u"b "_s;
    loneSurrogates += QChar(0xDC00);
    loneSurrogates += u"\U0001F600"_s;
    loneSurrogates += QChar(0xD83D); // a high surrogate cut off at the very end

    const struct {
        const char* name;
        QString text;
        qsizetype limit;
    } cases[] = {
        {"lone surrogates", loneSurrogates, 1},
        {"lone surrogates, wider limit", loneSurrogates, 3},
        {"mixed scripts", u"Ελληνικά 日本語のテキスト עברית \u0915\u094D\u0937 text"_s, 5},
        {"combining marks piled up", u"a"_s + QString(40, QChar(0x0301)) + u" b"_s, 1},
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
