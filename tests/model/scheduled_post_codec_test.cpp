#include "support/golden.h"

#include "model/scheduled_post.h"

#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

const QUuid kX1 = QUuid::fromString(u"A0000000-0000-4000-8000-000000000001");
const QUuid kX2 = QUuid::fromString(u"A0000000-0000-4000-8000-000000000002");
const QUuid kX4 = QUuid::fromString(u"A0000000-0000-4000-8000-000000000004");
const QUuid kX5 = QUuid::fromString(u"A0000000-0000-4000-8000-000000000005");

// Compact text of a parsed document, keys in their written order.
std::string canonical(const QByteArray& document)
{
    return Json::parse(document.constBegin(), document.constEnd()).dump();
}

TEST(ScheduledPostCodec, GoldenDocumentReencodesKeyForKey)
{
    const QByteArray golden = readGolden("scheduled_posts_current.json");
    const QList<ScheduledPost> posts = ScheduledPost::decodeList(golden);
    ASSERT_EQ(posts.size(), 3);

    EXPECT_EQ(canonical(ScheduledPost::encodeList(posts, JsonLayout::compact)), canonical(golden));
    EXPECT_EQ(canonical(ScheduledPost::encodeList(posts, JsonLayout::pretty)), canonical(golden));
}

TEST(ScheduledPostCodec, GoldenDocumentDecodesToTheWrittenValues)
{
    const QList<ScheduledPost> posts = ScheduledPost::decodeList(readGolden("scheduled_posts_current.json"));
    ASSERT_EQ(posts.size(), 3);

    const ScheduledPost& thread = posts[0];
    ASSERT_EQ(thread.content.size(), 3);
    EXPECT_EQ(thread.scheduledDate.toDateTime(), QDateTime(QDate(2025, 11, 6), QTime(8, 40), QTimeZone::utc()));
    EXPECT_EQ(thread.accountIds.value(PlatformType::x), (QList<QUuid>{kX1, kX2}));
    EXPECT_EQ(thread.xShareWithFollowers, (QMap<QUuid, bool>{{kX1, true}, {kX2, false}}));
    EXPECT_EQ(thread.modeFor(PlatformType::mastodon), ScheduledPostingMode::allEnabled);
    EXPECT_EQ(thread.modeFor(PlatformType::bluesky), ScheduledPostingMode::specific);

    const PostMedia& image = thread.content[0].mediaItems[1];
    EXPECT_TRUE(image.isImage());
    EXPECT_TRUE(image.isMissing);
    EXPECT_EQ(image.localFile(), u"/home/ada/.local/share/quillo/Quillo/Media/My Screenshot 2025.png");
    EXPECT_FALSE(thread.content[0].isFocused);

    const PostMedia& video = thread.content[1].mediaItems[0];
    EXPECT_TRUE(video.isVideo());
    ASSERT_TRUE(video.subtitles && video.trimClips);
    EXPECT_EQ(video.subtitles->segments[1].confidence, std::nullopt);
    EXPECT_DOUBLE_EQ(video.subtitles->createdAt.referenceSeconds(), 784000000.123456);
    EXPECT_EQ(video.trimClips->size(), 2);
    EXPECT_TRUE(thread.content[1].text.contains(QStringLiteral("🎬")));

    EXPECT_EQ(posts[1].content[0].quoteContext->idOn(PlatformType::bluesky), u"at://did:plc:abc123/app.bsky.feed.post/3kxyz");
    EXPECT_EQ(posts[1].error, u"BlueSky: The handle or app password is wrong.");
    EXPECT_EQ(posts[2].content[0].communityContext->name, u"Build in Public");
}

TEST(ScheduledPostCodec, OlderEntriesGetTheirDefaults)
{
    const QList<ScheduledPost> posts = ScheduledPost::decodeList(readGolden("scheduled_posts_older.json"));
    ASSERT_EQ(posts.size(), 3);

    const ScheduledPost& bare = posts[0];
    EXPECT_EQ(bare.timeZoneIdentifier, QString::fromUtf8(QTimeZone::systemTimeZoneId()));
    EXPECT_EQ(bare.postingMode, ScheduledPostingMode::defaults);
    EXPECT_TRUE(bare.accountIds.isEmpty());
    EXPECT_TRUE(bare.platformModes.isEmpty());
    EXPECT_TRUE(bare.xShareWithFollowers.isEmpty());
    EXPECT_EQ(bare.error, std::nullopt);
    EXPECT_EQ(bare.scheduledDate.toDateTime(), QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc()));
    EXPECT_EQ(bare.platformTypes(), (QList<PlatformType>{PlatformType::x, PlatformType::bluesky}));
    const PostMedia& media = bare.content[0].mediaItems[0];
    EXPECT_FALSE(media.areSubtitlesRendered);
    EXPECT_FALSE(media.isMissing);

    // The older Boolean sharing flag applies to every X account of the post.
    EXPECT_EQ(posts[1].xShareWithFollowers, (QMap<QUuid, bool>{{kX4, true}, {kX5, true}}));
    EXPECT_EQ(posts[1].error, std::nullopt);
    EXPECT_TRUE(posts[2].xShareWithFollowers.isEmpty());

    // Re-encoding writes the current form: all keys, dictionaries as flat arrays.
    const Json reencoded = posts[1].toJson();
    EXPECT_EQ(reencoded["xShareWithFollowers"].dump(),
              R"(["A0000000-0000-4000-8000-000000000004",true,"A0000000-0000-4000-8000-000000000005",true])");
    const Json bareJson = bare.toJson();
    std::vector<std::string> keys;
    for (const auto& item : bareJson.items())
        keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"id", "content", "scheduledDate", "timeZoneIdentifier", "platforms",
                                              "status", "accountIds", "postingMode", "xShareWithFollowers",
                                              "platformModes"}));
}

TEST(ScheduledPostCodec, ExportFormRoundTripsWithSortedKeysAndIsoDates)
{
    QList<ScheduledPost> posts = ScheduledPost::decodeList(readGolden("scheduled_posts_current.json"));
    // ISO 8601 text keeps milliseconds; keep the dates representable.
    posts[1].scheduledDate = Timestamp::fromReferenceSeconds(784197600.5);
    posts[0].content[1].mediaItems[0].subtitles->createdAt = Timestamp::fromReferenceSeconds(784000000.125);

    const QByteArray exported = ScheduledPost::encodeList(posts, JsonLayout::prettySortedKeys, DateEncoding::iso8601);
    EXPECT_TRUE(exported.contains("\"scheduledDate\": \"2025-11-06T08:40:00Z\""));
    EXPECT_TRUE(exported.contains("\"2025-11-07T08:40:00.500Z\""));
    // Sorted keys: "accountIds" comes before "content" before "id".
    EXPECT_LT(exported.indexOf("\"accountIds\""), exported.indexOf("\"content\""));
    EXPECT_LT(exported.indexOf("\"content\""), exported.indexOf("\"id\""));

    EXPECT_EQ(ScheduledPost::decodeList(exported, DateEncoding::iso8601), posts);
    // The stored form and the export form do not read each other's dates.
    EXPECT_THROW(ScheduledPost::decodeList(exported), CodingError);
}

struct BadDocument {
    const char* name;
    const char* json;
    CodingError::Kind kind;
};

constexpr const char* kValid = R"({"id":"6F1D2C3B-4A59-4E87-9A10-2B3C4D5E6F70","content":[{"id":"0A1B2C3D-4E5F-4071-8293-A4B5C6D7E8F9","text":"","mediaItems":[{"id":"11111111-2222-4333-8444-555555555555","type":{"video":{}},"originalPath":{"relative":"file:///a.mov"},"redactions":[],"areSubtitlesRendered":false,"isMissing":false}]}],"scheduledDate":1,"platforms":["x"],"status":"queued"})";

TEST(ScheduledPostCodec, BadDocumentsFailAsAWhole)
{
    // Each case replaces one piece of an otherwise valid entry.
    const std::vector<std::pair<std::pair<std::string, std::string>, CodingError::Kind>> edits = {
        {{R"("status":"queued")", R"("status":"sent")"}, CodingError::Kind::invalidValue},
        {{R"("scheduledDate":1,)", ""}, CodingError::Kind::missingKey},
        {{R"("status":"queued")", R"("status":null)"}, CodingError::Kind::missingKey},
        {{R"("platforms":["x"],)", ""}, CodingError::Kind::missingKey},
        {{R"("scheduledDate":1)", R"("scheduledDate":"1")"}, CodingError::Kind::wrongType},
        {{R"({"video":{}})", R"("video")"}, CodingError::Kind::wrongType},
        {{R"({"video":{}})", R"({"video":{},"image":{}})"}, CodingError::Kind::wrongType},
        {{R"({"video":{}})", R"({"audio":{}})"}, CodingError::Kind::wrongType},
        {{R"("redactions":[],)", ""}, CodingError::Kind::missingKey},
        {{R"("text":"")", R"("text":5)"}, CodingError::Kind::wrongType},
        {{R"("id":"6F1D2C3B-4A59-4E87-9A10-2B3C4D5E6F70")", R"("id":"not-a-uuid")"}, CodingError::Kind::invalidValue},
        {{R"("originalPath":{"relative":"file:///a.mov"})", R"("originalPath":{})"}, CodingError::Kind::missingKey},
        {{R"("isMissing":false)", R"("isMissing":0)"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","accountIds":{"x":[]})"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","accountIds":["x"])"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","accountIds":["twitter",[]])"}, CodingError::Kind::invalidValue},
        {{R"("status":"queued")", R"("status":"queued","platformModes":{"x":"specific"})"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","platformModes":["x","all"])"}, CodingError::Kind::invalidValue},
        {{R"("status":"queued")", R"("status":"queued","xShareWithFollowers":{"A0000000-0000-4000-8000-000000000001":true})"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","xShareWithFollowers":["A0000000-0000-4000-8000-000000000001","yes"])"}, CodingError::Kind::wrongType},
        {{R"("status":"queued")", R"("status":"queued","postingMode":"everything")"}, CodingError::Kind::invalidValue},
    };
    const std::string valid = std::string("[") + kValid + "]";
    ASSERT_NO_THROW(ScheduledPost::decodeList(QByteArray::fromStdString(valid)));
    for (const auto& [edit, kind] : edits) {
        std::string broken = valid;
        const auto at = broken.find(edit.first);
        ASSERT_NE(at, std::string::npos) << edit.first;
        broken.replace(at, edit.first.size(), edit.second);
        try {
            ScheduledPost::decodeList(QByteArray::fromStdString(broken));
            ADD_FAILURE() << "accepted: " << broken;
        } catch (const CodingError& error) {
            EXPECT_EQ(error.kind(), kind) << broken << "\n" << error.what();
        }
    }
}

TEST(ScheduledPostCodec, MalformedDocumentsAreRejected)
{
    for (const char* text : {"", "[", "{\"id\":", "[1, 2", "\xff\xfe", "null", "{}", "[null]", "[[]]"}) {
        EXPECT_THROW(ScheduledPost::decodeList(QByteArray(text)), CodingError) << text;
    }
    EXPECT_TRUE(ScheduledPost::decodeList(QByteArray("[]")).isEmpty());
}

TEST(ScheduledPostCodec, ErrorsNameThePath)
{
    std::string broken = std::string("[") + kValid + "]";
    broken.replace(broken.find(R"({"video":{}})"), 12, R"("video")");
    try {
        ScheduledPost::decodeList(QByteArray::fromStdString(broken));
        FAIL();
    } catch (const CodingError& error) {
        EXPECT_EQ(error.path(), u"[0].content[0].mediaItems[0].type");
    }
}

} // namespace
