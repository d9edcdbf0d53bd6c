#include "platforms/bluesky/blue_sky_rich_text.h"

#include "support/random_text.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

using Kind = BlueSkyFacet::Kind;

// The UTF-8 bytes a facet covers, cut from the final text with std::string, which knows
// nothing of how the offsets were computed.
std::string covered(const QString& text, qsizetype start, qsizetype end)
{
    const std::string utf8 = text.toStdString();
    if (start < 0 || end < start || size_t(end) > utf8.size())
        return "<out of range>";
    return utf8.substr(size_t(start), size_t(end - start));
}

std::string covered(const BlueSkyRichText::Result& result, const BlueSkyFacet& facet)
{
    return covered(result.text, facet.byteStart, facet.byteEnd);
}

QList<BlueSkyFacet> ofKind(const BlueSkyRichText::Result& result, Kind kind)
{
    QList<BlueSkyFacet> found;
    for (const BlueSkyFacet& facet : result.facets)
        if (facet.kind == kind)
            found.append(facet);
    return found;
}

} // namespace

TEST(BlueSkyRichText, byteRangesCountUtf8OfTheFinalText)
{
    const auto result = BlueSkyRichText::process(
        QStringLiteral("Grüße 👋🏽 @bob.test! see https://www.example.com/a/very/long/path/that/goes/on/and/on?x=1 then #Straße"));
    EXPECT_EQ(result.text, QStringLiteral("Grüße 👋🏽 @bob.test! see www.example.com/a/very/long/path... then #Straße"));

    ASSERT_EQ(result.mentions.size(), 1);
    EXPECT_EQ(result.mentions[0].handle, QStringLiteral("bob.test"));
    EXPECT_EQ(covered(result.text, result.mentions[0].byteStart, result.mentions[0].byteEnd), "@bob.test");
    // "Grüße " is 8 bytes, the waving hand with its skin tone 8, the space 1.
    EXPECT_EQ(result.mentions[0].byteStart, 17);

    const auto links = ofKind(result, Kind::link);
    ASSERT_EQ(links.size(), 1);
    EXPECT_EQ(covered(result, links[0]), "www.example.com/a/very/long/path...");
    EXPECT_EQ(links[0].value, QStringLiteral("https://www.example.com/a/very/long/path/that/goes/on/and/on?x=1"));
    const auto tags = ofKind(result, Kind::tag);
    ASSERT_EQ(tags.size(), 1);
    EXPECT_EQ(tags[0].value, QStringLiteral("Straße"));
    EXPECT_EQ(covered(result, tags[0]), "#Straße");
    // Links first, then tags.
    EXPECT_EQ(result.facets.first().kind, Kind::link);
    EXPECT_EQ(result.firstLink, links[0].value);
}

TEST(BlueSkyRichText, decidesWhatIsALinkAndJoinsBrokenOnes)
{
    struct Case {
        const char* text;
        std::vector<std::pair<std::string, std::string>> links; // shown text, target
    };
    const Case cases[] = {
        {"Released v1.2 and 1.2.3 and 3.14 today", {}},
        {"rename it to .txt or stop.", {}},
        {"see example.com/docs/start", {{"example.com/docs/start", "https://example.com/docs/start"}}},
        {"http://example.org/", {{"example.org/", "http://example.org/"}}},
        {"ping @bob.test or mail alice@example.com", {}},
        {"a word_in.com tail", {}},
        // Longer than 32 characters after the scheme is cut; exactly 32 stays whole.
        {"https://abcdefghij.com/0123456789012345678",
         {{"abcdefghij.com/0123456789012345678", "https://abcdefghij.com/0123456789012345678"}}},
        {"https://abcdefghij.com/01234567890123456", {{"abcdefghij.com/01234567890123456", ""}}},
        // A link that starts a line and ends in punctuation still counts.
        {"first line\nexample.net.", {{"example.net", "https://example.net"}}},
        {"two: a.io b.io", {{"a.io", "https://a.io"}, {"b.io", "https://b.io"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto result = BlueSkyRichText::process(QString::fromUtf8(c.text));
        const auto links = ofKind(result, Kind::link);
        ASSERT_EQ(size_t(links.size()), c.links.size());
        for (size_t i = 0; i < c.links.size(); ++i) {
            const std::string shown = covered(result, links[qsizetype(i)]);
            if (c.links[i].first.size() > 32)
                EXPECT_EQ(shown, c.links[i].first.substr(0, 32) + "...");
            else
                EXPECT_EQ(shown, c.links[i].first);
            if (!c.links[i].second.empty()) {
                EXPECT_EQ(links[qsizetype(i)].value.toStdString(), c.links[i].second);
            }
        }
    }

    // A link broken over a line end is joined; text without a scheme is left alone.
    const auto result = BlueSkyRichText::process(QStringLiteral("read https://example.com/a\n  /b/c now"));
    EXPECT_EQ(result.text, QStringLiteral("read example.com/a /b/c now"));
    ASSERT_EQ(ofKind(result, Kind::link).size(), 1);
    EXPECT_EQ(result.facets[0].value, QStringLiteral("https://example.com/a"));
    EXPECT_EQ(BlueSkyRichText::repairLineBreaks(QStringLiteral("a.com\nb")), QStringLiteral("a.com\nb"));
}

TEST(BlueSkyRichText, tagsAndMentionsOutsideLinksOnly)
{
    const auto result = BlueSkyRichText::process(
        QStringLiteral("#first https://example.com/page#frag and example.com/#/route #second "
                       "@carol.test. @x #1 name@mail.org #"));
    QStringList tags;
    for (const BlueSkyFacet& tag : ofKind(result, Kind::tag)) {
        tags.append(tag.value);
        EXPECT_EQ(covered(result, tag), "#" + tag.value.toStdString());
    }
    EXPECT_EQ(tags, (QStringList{QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("1")}));
    QStringList handles;
    for (const auto& mention : result.mentions) {
        handles.append(mention.handle);
        EXPECT_EQ(covered(result.text, mention.byteStart, mention.byteEnd), "@" + mention.handle.toStdString());
    }
    // The full stop after a handle ends the sentence, not the handle; an address is no mention.
    EXPECT_EQ(handles, (QStringList{QStringLiteral("carol.test"), QStringLiteral("x")}));

    const QString longTag = QStringLiteral("#") + QString(65, u'a');
    EXPECT_TRUE(ofKind(BlueSkyRichText::process(longTag), Kind::tag).isEmpty());
}

TEST(BlueSkyRichText, everyFacetCoversWhatItNames)
{
    RandomText random({QStringLiteral("hello "), QStringLiteral("👩‍👩‍👧 "), QStringLiteral("é"), QStringLiteral("日本語 "),
                       QStringLiteral("@bob.test "), QStringLiteral("#tag "), QStringLiteral("#日本 "),
                       QStringLiteral("example.com "), QStringLiteral("https://a.example.org/some/really/long/path/x?y=1 "),
                       QStringLiteral("\n"), QStringLiteral("v2.0 "), QStringLiteral("http://x.io/#h "), QStringLiteral(". "),
                       QStringLiteral("https://broken.example/a\nrest ")});
    for (int i = 0; i < 500; ++i) {
        const QString text = random.next(12);
        SCOPED_TRACE(text.toStdString());
        const auto result = BlueSkyRichText::process(text);
        qsizetype previousEnd = -1;
        for (const BlueSkyFacet& facet : result.facets) {
            const std::string slice = covered(result, facet);
            switch (facet.kind) {
            case Kind::link: {
                EXPECT_GT(facet.byteStart, previousEnd);
                previousEnd = facet.byteEnd;
                QString bare = facet.value;
                bare.remove(QRegularExpression(QStringLiteral("^https?://")));
                const QString shown = QString::fromStdString(slice);
                EXPECT_EQ(shown, bare.size() > 32 ? bare.first(32) + QStringLiteral("...") : bare);
                break;
            }
            case Kind::tag:
                EXPECT_EQ(slice, "#" + facet.value.toStdString());
                break;
            case Kind::mention:
                ADD_FAILURE() << "mentions are resolved by the service";
                break;
            }
        }
        for (const auto& mention : result.mentions)
            EXPECT_EQ(covered(result.text, mention.byteStart, mention.byteEnd), "@" + mention.handle.toStdString());
    }
}
