#include "platforms/mastodon/mastodon_instance.h"

#include "core/endpoints.h"
#include "core/preference_store.h"
#include "store/account_manager.h"
#include "support/temp_home.h"
#include "model/social_account.h"
#include "platforms/mastodon/mastodon_error.h"
#include "platforms/mastodon/mastodon_instance_limits.h"
#include "text/platform_character_counter.h"

#include <gtest/gtest.h>

namespace {

QString refusal(const QString& entered)
{
    try {
        MastodonInstance::normalize(entered);
    } catch (const MastodonError& error) {
        EXPECT_EQ(error.kind(), MastodonError::Kind::invalidInstance);
        return error.message();
    }
    return QStringLiteral("accepted");
}

} // namespace

TEST(MastodonInstance, normalisesWhatPeopleTypeAndRefusesTheRest)
{
    const std::pair<const char16_t*, const char16_t*> accepted[] = {
        {u"mastodon.social", u"mastodon.social"},
        {u"  https://Mastodon.Social/  ", u"mastodon.social"},
        {u"http://fosstodon.org///", u"fosstodon.org"},
        {u"", u"mastodon.social"}, // the default instance
        {u"bücher.social", u"xn--bcher-kva.social"},
        {u"mas.to.", u"mas.to"},
        {u"my-server.co.uk", u"my-server.co.uk"},
    };
    for (const auto& [entered, host] : accepted)
        EXPECT_EQ(MastodonInstance::normalize(QString::fromUtf16(entered)), QString::fromUtf16(host))
            << QString::fromUtf16(entered).toStdString();

    const QString notAnInstance = QStringLiteral(" is not a Mastodon instance. Enter its address, such as mastodon.social");
    const QString page = QStringLiteral("Enter only the Mastodon instance's name, such as mastodon.social, not a page on it");
    const QString port = QStringLiteral("Enter the Mastodon instance without a port, such as mastodon.social");
    const std::pair<const char16_t*, QString> refused[] = {
        {u"javascript:alert(1)", QStringLiteral("\"javascript:alert(1)\"") + notAnInstance},
        {u"ftp://mastodon.social", QStringLiteral("\"ftp://mastodon.social\"") + notAnInstance},
        {u"localhost", QStringLiteral("\"localhost\"") + notAnInstance},
        {u"@alice@mastodon.social", QStringLiteral("\"@alice@mastodon.social\"") + notAnInstance},
        {u"mastodon.social/@alice", page},
        {u"https://mastodon.social/about?x=1", page},
        {u"mastodon.social/#top", page},
        {u"mastodon.social:8443", port},
        {u"https://social.example.org:443/", port},
        {u"https://", QStringLiteral("Please enter your Mastodon instance URL first")},
    };
    for (const auto& [entered, message] : refused)
        EXPECT_EQ(refusal(QString::fromUtf16(entered)), message) << QString::fromUtf16(entered).toStdString();

    // Requests go to the instance unless QUILLO_ENDPOINTS says otherwise.
    EXPECT_EQ(MastodonInstance::baseUrl(QStringLiteral("fosstodon.org"), Endpoints()),
              QUrl(QStringLiteral("https://fosstodon.org")));
    const Endpoints local = Endpoints::parse(QStringLiteral("x=http://127.0.0.1:1,mastodon=http://127.0.0.1:8082/"));
    EXPECT_EQ(MastodonInstance::baseUrl(QStringLiteral("fosstodon.org"), local), QUrl(QStringLiteral("http://127.0.0.1:8082")));
}

TEST(MastodonInstance, limitsComeFromEitherInstanceDocumentAndTravelWithTheAccount)
{
    const auto v2 = MastodonInstanceLimits::fromInstanceDocument(Json::parse(R"({"configuration":{
        "statuses":{"max_characters":5000,"max_media_attachments":8},
        "media_attachments":{"image_size_limit":16777216,"video_size_limit":103809024}}})"));
    ASSERT_TRUE(v2);
    EXPECT_EQ(v2->maxCharacters, 5000);
    EXPECT_EQ(v2->imageSizeLimit, 16777216);
    const auto fork = MastodonInstanceLimits::fromInstanceDocument(Json::parse(R"({"max_toot_chars":1000})"));
    ASSERT_TRUE(fork);
    EXPECT_EQ(fork->maxCharacters, 1000);
    EXPECT_EQ(fork->maxMediaAttachments, 4);
    EXPECT_FALSE(MastodonInstanceLimits::fromInstanceDocument(Json::parse(R"({"title":"x"})")));
    EXPECT_FALSE(MastodonInstanceLimits::fromInstanceDocument(Json::parse(R"({"max_toot_chars":"lots"})")));

    // The counter takes the cached limit of the accounts a post goes through.
    SocialAccount big = SocialAccount::create(PlatformType::mastodon, QStringLiteral("a@big.example"), {}, {});
    v2->writeTo(big.credentials);
    SocialAccount plain = SocialAccount::create(PlatformType::mastodon, QStringLiteral("b@plain.example"), {}, {});
    EXPECT_EQ(MastodonInstanceLimits::fromAccount(big), (MastodonInstanceLimits{5000, 8, 0, 0}));
    EXPECT_EQ(MastodonInstanceLimits::fromAccount(plain), MastodonInstanceLimits());
    const QString text(4000, u'a');
    EXPECT_TRUE(PlatformCharacterCounter::count(big, text).fits());
    EXPECT_FALSE(PlatformCharacterCounter::count(plain, text).fits());
    EXPECT_EQ(PlatformCharacterCounter::mastodonLimit({big}), 5000);
    EXPECT_EQ(PlatformCharacterCounter::mastodonLimit({big, plain}), 500);
    EXPECT_EQ(PlatformCharacterCounter::mastodonLimit({}), 500);
    big.credentials.insert(QStringLiteral("maxCharacters"), QStringLiteral("-3"));
    EXPECT_EQ(PlatformCharacterCounter::count(big, text).limit, 500);
}

TEST(MastodonInstance, limitsReadWhilePublishingAreCachedWithTheAccount)
{
    TempHome home;
    PreferenceStore store(home.paths());
    AccountManager accounts(store);
    const SocialAccount account = SocialAccount::create(PlatformType::mastodon, QStringLiteral("a@big.example"),
                                                        {{QStringLiteral("accessToken"), QStringLiteral("t")}}, {});
    ASSERT_EQ(accounts.addAccount(account), std::nullopt);
    int changes = 0;
    QObject::connect(&accounts, &AccountManager::accountsDidChange, [&changes] { ++changes; });

    const MastodonInstanceLimits limits{5000, 4, 0, 0};
    EXPECT_TRUE(limits.storeWith(accounts, account.id));
    EXPECT_TRUE(limits.storeWith(accounts, account.id));
    EXPECT_EQ(changes, 1);
    const auto stored = AccountManager(store).account(account.id);
    EXPECT_EQ(stored->mastodonCharacterLimit(), 5000);
    EXPECT_EQ(stored->credential(CredentialKeys::accessToken), QStringLiteral("t")); // the token survives
    EXPECT_FALSE(limits.storeWith(accounts, QUuid::createUuid()));
}

TEST(MastodonError, serverErrorsEndAt599AndDetailsStayOutOfTheMessage)
{
    EXPECT_EQ(MastodonError::connectMessage(599), MastodonError::connectMessage(500));
    EXPECT_EQ(MastodonError::connectMessage(600), QStringLiteral("An error occurred while connecting to Mastodon (Error 600)"));
    const MastodonError postFailed(MastodonError::Kind::postFailed, QStringLiteral("Validation failed"), 422);
    EXPECT_EQ(postFailed.message(), QStringLiteral("Failed to post to Mastodon"));
    EXPECT_STREQ(postFailed.what(), "Failed to post to Mastodon [Validation failed]");
}
