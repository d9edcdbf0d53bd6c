#include "support/golden.h"

#include "model/accounts_backup.h"

#include <gtest/gtest.h>

namespace {

std::string canonical(const QByteArray& document)
{
    return Json::parse(document.constBegin(), document.constEnd()).dump();
}

TEST(SocialAccountCodec, GoldenListReencodesKeyForKey)
{
    const QByteArray golden = readGolden("social_accounts.json");
    const QList<SocialAccount> accounts = SocialAccount::decodeList(golden);
    ASSERT_EQ(accounts.size(), 3);
    EXPECT_EQ(canonical(SocialAccount::encodeList(accounts)), canonical(golden));

    EXPECT_EQ(accounts[0].displayName(), u"Ada (work)");
    EXPECT_EQ(accounts[1].displayName(), u"ada.bsky.social");
    EXPECT_EQ(accounts[0].credential(CredentialKeys::apiKey), u"key-1");
    EXPECT_EQ(accounts[2].platform, PlatformType::mastodon);
    EXPECT_FALSE(accounts[2].isEnabled);
    EXPECT_EQ(accounts[2].mastodonInstance(), u"hachyderm.io");
    SocialAccount noInstance = accounts[2];
    noInstance.credentials[QString(CredentialKeys::instance)] = QString();
    EXPECT_EQ(noInstance.mastodonInstance(), QString(kDefaultMastodonInstance));
}

TEST(SocialAccountCodec, BackupUsesIsoDatesAndRoundTrips)
{
    const QByteArray golden = readGolden("accounts_backup.json");
    const AccountsBackup backup = AccountsBackup::decodeDocument(golden);
    ASSERT_EQ(backup.accounts.size(), 2);
    EXPECT_EQ(backup.enabledPlatforms, (QList<PlatformType>{PlatformType::x, PlatformType::bluesky}));
    EXPECT_EQ(backup.accounts[1].createdAt.referenceSeconds(), 750000100.0);
    EXPECT_EQ(canonical(backup.encode()), canonical(golden));
    EXPECT_EQ(AccountsBackup::decodeDocument(backup.encode()), backup);
}

TEST(SocialAccountCodec, BadAccountsAreRejected)
{
    const char* cases[] = {
        R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"threads","name":"n","credentials":{},"isDefault":false,"isEnabled":true,"createdAt":0}])",
        R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"x","name":"n","credentials":{"apiKey":1},"isDefault":false,"isEnabled":true,"createdAt":0}])",
        R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"x","name":"n","credentials":[],"isDefault":false,"isEnabled":true,"createdAt":0}])",
        R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"x","name":"n","credentials":{},"isEnabled":true,"createdAt":0}])",
        R"([{"id":"A0000000-0000-4000-8000-000000000001","platform":"x","name":"n","credentials":{},"isDefault":false,"isEnabled":true,"createdAt":"2024-01-01T00:00:00Z"}])",
        R"({"accounts":[]})",
    };
    for (const char* text : cases)
        EXPECT_THROW(SocialAccount::decodeList(QByteArray(text)), CodingError) << text;

    EXPECT_THROW(AccountsBackup::decodeDocument(QByteArray(R"({"accounts":[],"enabledPlatforms":["myspace"]})")),
                 CodingError);
    EXPECT_THROW(AccountsBackup::decodeDocument(QByteArray(R"({"accounts":[]})")), CodingError);
}

TEST(Timestamp, IsoTextTable)
{
    struct Case {
        const char* text;
        std::optional<double> seconds;
    };
    const Case cases[] = {
        {"2001-01-01T00:00:00Z", 0.0},
        {"2024-10-07T13:20:00Z", 750000000.0},
        {"2024-10-07T15:20:00+02:00", 750000000.0},
        {"2024-10-07T13:20:00.250Z", 750000000.25},
        {"2024-10-07T13:20:00", std::nullopt},
        {"2024-10-07", std::nullopt},
        {"yesterday", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto parsed = Timestamp::fromIso8601(QString::fromUtf8(c.text));
        ASSERT_EQ(parsed.has_value(), c.seconds.has_value()) << c.text;
        if (parsed) {
            EXPECT_DOUBLE_EQ(parsed->referenceSeconds(), *c.seconds) << c.text;
        }
    }
    EXPECT_EQ(Timestamp::fromReferenceSeconds(750000000).toIso8601(), u"2024-10-07T13:20:00Z");
    EXPECT_EQ(Timestamp::fromReferenceSeconds(-0.5).toIso8601(), u"2000-12-31T23:59:59.500Z");
}

TEST(PlatformNames, RawValuesAndOtherSpellings)
{
    for (const PlatformType platform : allPlatformTypes()) {
        EXPECT_EQ(platformTypeFromRawValue(rawValue(platform)), platform);
        EXPECT_EQ(platformTypeFromName(displayName(platform)), platform);
    }
    EXPECT_EQ(platformTypeFromRawValue(u"X"), std::nullopt);
    EXPECT_EQ(platformTypeFromName(u"X"), PlatformType::x);
    EXPECT_EQ(platformTypeFromName(u"Twitter"), PlatformType::x);
    EXPECT_EQ(platformTypeFromName(u"threads"), std::nullopt);
}

} // namespace
