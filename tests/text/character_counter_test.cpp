#include "text/bluesky_character_counter.h"
#include "text/mastodon_character_counter.h"
#include "text/x_character_counter.h"
#include "support/random_text.h"

#include <QList>

#include <gtest/gtest.h>

namespace {
using namespace Qt::StringLiterals;

struct LengthCase {
    const char* name;
    QString text;
    qsizetype expected;
};

const QString Family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_s;
const QString Kana = u"あいうえおかきくけこ"_s;
const QString Poem = u"故人西辞黄鹤楼，烟花三月下扬州。孤帆远影碧空尽，唯见长江天际流。朱雀桥边野草花，乌衣巷口夕阳斜。"
                     u"旧时王谢堂前燕，飞入寻常百姓家。朝辞白帝彩云间，千里江陵一日还。两岸猿声啼不住，轻舟已过万重山。"
                     u"泪湿罗巾梦不成，夜深前殿按歌声。红颜未老恩先断，斜倚薰笼坐到明。独在异乡为异客，每逢佳节倍思亲。"
                     u"遥知兄弟登高处，遍插茱萸少一人。"_s;

QString generalPunctuation()
{
    QString text = u"This is a tweet with general punctuation characters: "_s;
    for (char16_t c = 0x2000; c <= 0x200B; ++c)
        text += QChar(c);
    for (char16_t c = 0x2010; c <= 0x2016; ++c)
        text += u' ' + QChar(c);
    text += u' ';
    for (char16_t c = 0x2017; c <= 0x201F; ++c)
        text += u' ' + QChar(c);
    for (char16_t c = 0x2032; c <= 0x2037; ++c)
        text += u' ' + QChar(c);
    return text;
}

// The published examples of X's counting rules (twitter-text conformance, emoji parsing on).
TEST(XCharacterCounterTest, AgreesWithXsPublishedExamples)
{
    const QString dashes = u"xxxxxxxxxx-"_s;
    const QList<LengthCase> cases = {
        {"plain text", u"This is a test."_s, 15},
        {"http link", u"http://test.com"_s, 23},
        {"https link", u"https://test.com"_s, 23},
        {"link without a scheme", u"test.com"_s, 23},
        {"several links", u"Test https://test.com test https://test.com test.com test"_s, 86},
        {"text and a short link", u"Hi http://test.co"_s, 26},
        {"long tweet", u"285 chars-"_s + dashes.repeated(25), 285},
        {"link in the middle", u"285 chars- http://www.twitter.com/jack "_s + dashes.repeated(24), 299},
        {"link at the end", dashes.repeated(24) + u" http://www.twitter.com/jack "_s, 289},
        {"ten links", u"https://www.twitter.com/aloha "_s.repeated(10), 240},
        {"160 CJK characters", Poem, 320},
        {"160 emoji", u"\U0001F637"_s.repeated(160), 320},
        {"Latin then CJK", u"the"_s + Poem, 323},
        {"NFC joins A and its accent", u"A\u0301B"_s, 2},
        {"NFC splits a composition exclusion", u"A\uFB2C"_s, 4},
        {"normalised character near the limit", u"282 chars-"_s + dashes.repeated(24) + u"xxxxxA\u0301x"_s, 281},
        {"emoji sequences weigh 2", u"H\U0001F431\u263A"_s + Family, 7},
        {"emoji in a row", u"\U0001F637\U0001F47E\U0001F621\U0001F525\U0001F4A9"_s, 10},
        {"skin tone and ZWJ", u"\U0001F64B\U0001F3FD\U0001F468\u200D\U0001F3A4"_s, 4},
        {"general punctuation weighs 1", generalPunctuation(), 110},
        {"64-character label is no domain", u"randomurl"_s.repeated(7) + u"s.com"_s, 68},
        {"punycode host too long", Kana.repeated(12) + u" http://"_s + Kana.repeated(5) + u"あいう.com"_s, 358},
        {"punycode host fits", Kana.repeated(12) + u" http://"_s + Kana.repeated(5) + u"あい.com"_s, 264},
        {"140 family emoji", Family.repeated(140), 280},
        {"Unicode 10 emoji and a subdivision flag",
         u"Unicode 10.0 emoji: \U0001F92A; \U0001F9D5; \U0001F9D5\U0001F3FE; "
         u"\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"_s,
         34},
        {"Unicode 9 emoji", u"Unicode 9.0 emoji: \U0001F920; \U0001F483; \U0001F483\U0001F3FE"_s, 29},
        {"invalid characters still count", u"ABC\u202A\uFFFFABC\uFFFE"_s, 12},
        {"directional marks around a link", u"\u2066\u202Ahttp://foobar.\u067E\u0627\u06A9\u0633\u062A\u0627\u0646/\u202C\u2069"_s, 31},
    };
    for (const LengthCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(XCharacterCounter::weightedLength(c.text), c.expected);
    }
}

TEST(XCharacterCounterTest, LinkBoundaries)
{
    const QList<LengthCase> cases = {
        {"sentence punctuation after a link", u"see example.com."_s, 4 + 23 + 1},
        {"closing parenthesis outside", u"(https://example.com/a)"_s, 1 + 23 + 1},
        {"balanced parenthesis inside", u"https://en.wikipedia.org/wiki/Fish_(food)"_s, 23},
        {"e-mail address is no link", u"me@example.com"_s, 14},
        {"file name with a country-like ending", u"notes.md"_s, 8},
        {"country domain with a path", u"bit.ly/abc"_s, 23},
        {"version number", u"v1.2.3"_s, 6},
        {"unknown ending without scheme", u"file.txt"_s, 8},
        {"unknown ending with scheme", u"https://file.txt"_s, 23},
        {"copyright sign is text", u"\u00A9 2024"_s, 6},
        {"copyright sign as emoji", u"\u00A9\uFE0F"_s, 2},
        {"keycap", u"1\uFE0F\u20E3"_s, 2},
        {"lone surrogate", QString(QChar(0xD800)), 2},
    };
    for (const LengthCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(XCharacterCounter::weightedLength(c.text), c.expected);
    }
    EXPECT_TRUE(XCharacterCounter::count(QString(280, u'a')).fits());
    EXPECT_FALSE(XCharacterCounter::count(QString(QString(140, QChar(0x4E00)) + u'a')).fits());
}

// Only the runs that NFC can change are normalised; counting a text and its NFC form must
// agree however marks, jamo, singletons and exclusions are mixed.
TEST(XCharacterCounterTest, CountsAsIfTheWholeTextWereNormalised)
{
    RandomText texts({
        u"a"_s, u"e"_s, u"A"_s, u" "_s, u"\u0301"_s, u"\u0323"_s, u"\u0308"_s, u"\u00E9"_s, u"\u212B"_s,
        u"\uFB2C"_s, u"\u0958"_s, u"\u1100"_s, u"\u1161"_s, u"\u11A8"_s, u"\uAC00"_s, u"\u0B47"_s,
        u"\u0B3E"_s, u"\u3099"_s, u"\u304B"_s, u"\u0344"_s, u"\U0001D15E"_s, u"\U0001F600"_s, u"x.com"_s,
    });
    for (int round = 0; round < 5000; ++round) {
        const QString text = texts.next(12);
        const QString normalized = text.normalized(QString::NormalizationForm_C);
        ASSERT_EQ(XCharacterCounter::weightedLength(text), XCharacterCounter::weightedLength(normalized))
            << text.toUtf8().toPercentEncoding().constData();
    }
}

// Mastodon's own rules: links 23 flat (http and https only), remote mentions by local part.
TEST(MastodonCharacterCounterTest, CountsLinksAndMentionsTheWayMastodonDoes)
{
    const QList<LengthCase> cases = {
        {"link counts 23 flat", QString(476, u'a') + u" http://"_s + QString(30, u'b') + u".com/example"_s, 500},
        {"remote mention counts its local part", QString(475, u'a') + u" @alice@"_s + QString(30, u'b') + u".com"_s, 482},
        {"local mention counts as typed", u"hi @alice"_s, 9},
        {"mention before sentence punctuation", u"@alice@example.com."_s, 7},
        {"e-mail address is no mention", u"bob@example.com"_s, 15},
        {"mention inside a link is the link", u"https://mastodon.social/@alice@example.com"_s, 23},
        {"bare domain is not shortened", u"example.com"_s, 11},
        {"other schemes are not shortened", u"ftp://example.com/file"_s, 22},
        {"emoji family is one character", Family, 1},
        {"combining marks join their letter", u"e\u0301e\u0301"_s, 2},
        {"Cyrillic path", u"http://example.com/Русские_слова"_s, 23},
    };
    for (const LengthCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(MastodonCharacterCounter::length(c.text), c.expected);
    }
    EXPECT_TRUE(MastodonCharacterCounter::count(QString(500, u'a')).fits());
    EXPECT_FALSE(MastodonCharacterCounter::count(QString(501, u'a')).fits());
    const CharacterCount large = MastodonCharacterCounter::count(QString(501, u'a'), 5000);
    EXPECT_EQ(large.limit, 5000);
    EXPECT_TRUE(large.fits());
}

TEST(BlueskyCharacterCounterTest, CountsTheSentTextInGraphemesAndBytes)
{
    const struct {
        const char* name;
        QString text;
        QString sent;
        CharacterCount expected;
    } cases[] = {
        {"300 characters fit", QString(300, u'a'), QString(300, u'a'), {300, 300, 300, 3000}},
        {"301 do not", QString(301, u'a'), QString(301, u'a'), {301, 300, 301, 3000}},
        {"emoji families: few graphemes, many bytes", Family.repeated(150), Family.repeated(150), {150, 300, 3750, 3000}},
        {"link without scheme shown as typed", u"see example.com"_s, u"see example.com"_s, {15, 300, 15, 3000}},
        {"long link shortened to 32 and dots", u"https://example.com/a/very/long/path/to/a/page"_s,
         u"example.com/a/very/long/path/to/..."_s, {35, 300, 35, 3000}},
        {"version number is no link", u"v1.2 is out"_s, u"v1.2 is out"_s, {11, 300, 11, 3000}},
        {"link broken over a line end is joined", u"https://example.com/path\nmore"_s, u"example.com/path more"_s,
         {21, 300, 21, 3000}},
        {"Greek letters weigh two bytes", QString(10, QChar(0x03B1)), QString(10, QChar(0x03B1)), {10, 300, 20, 3000}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(BlueskyCharacterCounter::sentText(c.text), c.sent);
        EXPECT_EQ(BlueskyCharacterCounter::count(c.text), c.expected);
    }
    EXPECT_FALSE(BlueskyCharacterCounter::count(Family.repeated(150)).fits());
    EXPECT_TRUE(BlueskyCharacterCounter::count(QString(300, u'a')).fits());
}
} // namespace
