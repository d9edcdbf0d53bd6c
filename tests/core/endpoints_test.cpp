#include "core/endpoints.h"

#include <gtest/gtest.h>

TEST(Endpoints, ReadsEachNetworkAndSkipsWhatCannotBeUsed)
{
    QStringList errors;
    const Endpoints endpoints = Endpoints::parse(
        QStringLiteral(" bluesky=http://127.0.0.1:2583/ , X=http://127.0.0.1:8081,,mastodon=ftp://host,"
                       "nonsense,fediverse=http://a.example,mastodon=http://127.0.0.1:8082"),
        &errors);

    EXPECT_EQ(endpoints.baseFor(QStringLiteral("bluesky")), QUrl(QStringLiteral("http://127.0.0.1:2583")));
    EXPECT_EQ(endpoints.baseFor(QStringLiteral("x")), QUrl(QStringLiteral("http://127.0.0.1:8081")));
    // The later, valid mastodon pair wins over the refused ftp one.
    EXPECT_EQ(endpoints.baseFor(QStringLiteral("mastodon")), QUrl(QStringLiteral("http://127.0.0.1:8082")));
    ASSERT_EQ(errors.size(), 3);
    EXPECT_TRUE(errors[0].contains(QStringLiteral("must be an http or https URL")));
    EXPECT_TRUE(errors[1].contains(QStringLiteral("expected network=baseURL")));
    EXPECT_TRUE(errors[2].contains(QStringLiteral("unknown network \"fediverse\"")));
}

TEST(Endpoints, UnsetMeansTheRealHosts)
{
    const Endpoints endpoints = Endpoints::fromEnvironment(QProcessEnvironment());
    EXPECT_TRUE(endpoints.isEmpty());
    EXPECT_FALSE(endpoints.baseFor(QStringLiteral("bluesky")).has_value());
}
