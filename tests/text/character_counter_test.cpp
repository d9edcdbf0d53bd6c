#include "support/random_text.h"
#include "text/bluesky_character_counter.h"
#include "text/mastodon_character_counter.h"
#include "text/x_character_counter.h"

#include <QList>

#include <gtest/gtest.h>

namespace {
struct LengthCase {
    const char* name;
    QString text;
    qsizetype expected;
};

const QString Family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466");
const QString Kana = QStringLiteral("あいうえおかきくけこ");
const QString Poem = QStringLiteral("故人西辞黄鹤楼，烟花三月下扬州。孤帆远影碧空尽，唯见长江天际流。朱雀桥边野草花，乌衣巷口夕阳斜。"
                                    "旧时王谢堂前燕，飞入寻常百姓家。朝辞白帝彩云间，千里江陵一日还。两岸猿声啼不住，轻舟已过万重山。"
                                    "泪湿罗巾梦不成，夜深前殿按歌声。红颜未老恩先断，斜倚薰笼坐到明。独在异乡为异客，每逢佳节倍思亲。"
                                    "遥知兄弟登高处，遍插茱萸少一人。");

QString generalPunctuation()
{
    QString text = QStringLiteral("This is a tweet with general punctuation characters: ");
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
    const QString dashes = QStringLiteral("xxxxxxxxxx-");
    const QList<LengthCase> cases = {
        {"plain text", QStringLiteral("This is a test."), 15},
        {"http link", QStringLiteral("http://test.com"), 23},
        {"https link", QStringLiteral("https://test.com"), 23},
        {"link without a scheme", QStringLiteral("test.com"), 23},
        {"several links", QStringLiteral("Test https://test.com test https://test.com test.com test"), 86},
        {"text and a short link", QStringLiteral("Hi http://test.co"), 26},
        {"long tweet", QStringLiteral("285 chars-") + dashes.repeated(25), 285},
        {"link in the middle", QStringLiteral("285 chars- http://www.twitter.com/jack ") + dashes.repeated(24), 299},
        {"link at the end", dashes.repeated(24) + QStringLiteral(" http://www.twitter.com/jack "), 289},
        {"ten links", QStringLiteral("https://www.twitter.com/aloha ").repeated(10), 240},
        {"160 CJK characters", Poem, 320},
        {"160 emoji", QStringLiteral("\U0001F637").repeated(160), 320},
        {"Latin then CJK", QStringLiteral("the") + Poem, 323},
        {"NFC joins A and its accent", QStringLiteral("A\u0301B"), 2},
        {"NFC splits a composition exclusion", QStringLiteral("A\uFB2C"), 4},
        {"normalised character near the limit", QStringLiteral("282 chars-") + dashes.repeated(24) + QStringLiteral("xxxxxA\u0301x"), 281},
        {"emoji sequences weigh 2", QStringLiteral("H\U0001F431\u263A") + Family, 7},
        {"emoji in a row", QStringLiteral("\U0001F637\U0001F47E\U0001F621\U0001F525\U0001F4A9"), 10},
        {"skin tone and ZWJ", QStringLiteral("\U0001F64B\U0001F3FD\U0001F468\u200D\U0001F3A4"), 4},
        {"general punctuation weighs 1", generalPunctuation(), 110},
        {"64-character label is no domain", QStringLiteral("randomurl").repeated(7) + QStringLiteral("s.com"), 68},
        {"punycode host too long", Kana.repeated(12) + QStringLiteral(" http://") + Kana.repeated(5) + QStringLiteral("あいう.com"), 358},
        {"punycode host fits", Kana.repeated(12) + QStringLiteral(" http://") + Kana.repeated(5) + QStringLiteral("あい.com"), 264},
        {"140 family emoji", Family.repeated(140), 280},
        {"Unicode 10 emoji and a subdivision flag",
         QStringLiteral("Unicode 10.0 emoji: \U0001F92A; \U0001F9D5; \U0001F9D5\U0001F3FE; "
                        "\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"),
         34},
        {"Unicode 9 emoji", QStringLiteral("Unicode 9.0 emoji: \U0001F920; \U0001F483; \U0001F483\U0001F3FE"), 29},
        {"invalid characters still count", QStringLiteral("ABC\u202A\uFFFFABC\uFFFE"), 12},
        {"directional marks around a link", QStringLiteral("\u2066\u202Ahttp://foobar.\u067E\u0627\u06A9\u0633\u062A\u0627\u0646/\u202C\u2069"), 31},
    };
    for (const LengthCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(XCharacterCounter::weightedLength(c.text), c.expected);
    }
}

TEST(XCharacterCounterTest, LinkBoundaries)
{
    const QList<LengthCase> cases = {
        {"sentence punctuation after a link", QStringLiteral("see example.com."), 4 + 23 + 1},
        {"closing parenthesis outside", QStringLiteral("(https://example.com/a)"), 1 + 23 + 1},
        {"balanced parenthesis inside", QStringLiteral("https://en.wikipedia.org/wiki/Fish_(food)"), 23},
        {"e-mail address is no link", QStringLiteral("me@example.com"), 14},
        {"file name with a country-like ending", QStringLiteral("notes.md"), 8},
        {"country domain with a path", QStringLiteral("bit.ly/abc"), 23},
        {"version number", QStringLiteral("v1.2.3"), 6},
        {"unknown ending without scheme", QStringLiteral("file.txt"), 8},
        {"unknown ending with scheme", QStringLiteral("https://file.txt"), 16},
        {"a private name is no domain", QStringLiteral("https://intranet.corp/wiki"), 26},
        {"newer generic domains", QStringLiteral("example.zip x.app"), 23 + 1 + 23},
        {"bare country domains X links", QStringLiteral("x.ai github.io t.co MLB.tv"), 4 * 23 + 3},
        {"bare country domains X leaves as text", QStringLiteral("twitter.jp it.so foo.jp"), 23},
        {"a domain right after CJK text", QStringLiteral("日本語example.com/a"), 6 + 23},
        {"a link right after CJK text", QStringLiteral("日本語https://example.com/a"), 6 + 23},
        {"a scheme after a Latin letter is no link start", QStringLiteral("xhttps://example.com"), 20},
        {"underscore in a sub-domain", QStringLiteral("my_blog.example.com"), 23},
        {"underscore in the domain name is no link", QStringLiteral("my_blog.com"), 11},
        {"a long t.co slug", QStringLiteral("https://t.co/") + QString(80, u'a'), 23},
        {"copyright sign is text", QStringLiteral("\u00A9 2024"), 6},
        {"copyright sign as emoji", QStringLiteral("\u00A9\uFE0F"), 2},
        {"keycap", QStringLiteral("1\uFE0F\u20E3"), 2},
        {"lone surrogate", QString(QChar(0xD800)), 2},
    };
    for (const LengthCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(XCharacterCounter::weightedLength(c.text), c.expected);
    }
    EXPECT_TRUE(XCharacterCounter::count(QString(280, u'a')).fits());
    for (const char16_t invalid : {u'\uFFFE', u'\uFEFF', u'\uFFFF', u'\u202A', u'\u202E'})
        EXPECT_FALSE(XCharacterCounter::count(QString(QStringLiteral("short") + QChar(invalid))).fits()) << int(invalid);
    EXPECT_FALSE(XCharacterCounter::count(QString(QString(140, QChar(0x4E00)) + u'a')).fits());
}

// Only the runs that NFC can change are normalised; counting a text and its NFC form must
// agree however marks, jamo, singletons and exclusions are mixed.
TEST(XCharacterCounterTest, CountsAsIfTheWholeTextWereNormalised)
{
    RandomText texts({
        QStringLiteral("a"), QStringLiteral("e"), QStringLiteral("A"), QStringLiteral(" "), QStringLiteral("\u0301"), QStringLiteral("\u0323"), QStringLiteral("\u0308"), QStringLiteral("\u00E9"), QStringLiteral("\u212B"),
        QStringLiteral("\uFB2C"), QStringLiteral("\u0958"), QStringLiteral("\u1100"), QStringLiteral("\u1161"), QStringLiteral("\u11A8"), QStringLiteral("\uAC00"), QStringLiteral("\u0B47"),
        QStringLiteral("\u0B3E"), QStringLiteral("\u3099"), QStringLiteral("\u304B"), QStringLiteral("\u0344"), QStringLiteral("\U0001D15E"), QStringLiteral("\U0001F600"), QStringLiteral("x.com"),
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
        {"link counts 23 flat", QString(476, u'a') + QStringLiteral(" http://") + QString(30, u'b') + QStringLiteral(".com/example"), 500},
        {"remote mention counts its local part", QString(475, u'a') + QStringLiteral(" @alice@") + QString(30, u'b') + QStringLiteral(".com"), 482},
        {"local mention counts as typed", QStringLiteral("hi @alice"), 9},
        {"mention before sentence punctuation", QStringLiteral("@alice@example.com."), 7},
        {"e-mail address is no mention", QStringLiteral("bob@example.com"), 15},
        {"mention inside a link is the link", QStringLiteral("https://mastodon.social/@alice@example.com"), 23},
        {"bare domain is not shortened", QStringLiteral("example.com"), 11},
        {"other schemes are not shortened", QStringLiteral("ftp://example.com/file"), 22},
        {"emoji family is one character", Family, 1},
        {"combining marks join their letter", QStringLiteral("e\u0301e\u0301"), 2},
        {"Cyrillic path", QStringLiteral("http://example.com/Русские_слова"), 23},
        {"a path may hold any non-space character", QStringLiteral("https://example.com/日本/¿^|{} x"), 25},
        {"sentence punctuation ends the path", QStringLiteral("https://example.com/a/b."), 24},
        {"an unknown domain is no link", QStringLiteral("https://intranet.corp/a"), 23},
        {"gemini and ipfs links count 23", QStringLiteral("gemini://example.org/") + QString(40, u'g') + QStringLiteral(" ipfs://") + QString(46, u'Q'), 47},
        {"a word before a scheme is no link", QStringLiteral("xgemini://example.org/abc"), 25},
        {"a mention followed by @ is none", QStringLiteral("@alice@example.com@x"), 20},
        {"a mention followed by :// is none", QStringLiteral("@alice@example.com://x"), 22},
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
        {"link without scheme shown as typed", QStringLiteral("see example.com"), QStringLiteral("see example.com"), {15, 300, 15, 3000}},
        {"long link shortened to 32 and dots", QStringLiteral("https://example.com/a/very/long/path/to/a/page"),
         QStringLiteral("example.com/a/very/long/path/to/..."), {35, 300, 35, 3000}},
        {"version number is no link", QStringLiteral("v1.2 is out"), QStringLiteral("v1.2 is out"), {11, 300, 11, 3000}},
        {"link broken over a line end is joined", QStringLiteral("https://example.com/path\nmore"), QStringLiteral("example.com/path more"),
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
