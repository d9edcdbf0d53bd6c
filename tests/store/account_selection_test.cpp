#include "store/account_selection.h"

#include <gtest/gtest.h>

namespace {

SocialAccount account(int n, PlatformType platform, bool isDefault, bool isEnabled)
{
    SocialAccount a;
    a.id = QUuid(QStringLiteral("A0000000-0000-4000-8000-%1").arg(n, 12, 10, QLatin1Char('0')));
    a.platform = platform;
    a.name = QStringLiteral("account %1").arg(n);
    a.isDefault = isDefault;
    a.isEnabled = isEnabled;
    return a;
}

using P = PlatformType;
using M = ScheduledPostingMode;

struct Case {
    const char* name;
    QList<SocialAccount> accounts;
    QList<PlatformType> enabledPlatforms;
    M mode;
    QList<int> storedIds; // account numbers under the platform in accountIds
    bool included;
    const char* reason;
    QList<int> publishedThrough;
};

TEST(AccountSelection, RulesTable)
{
    const SocialAccount def = account(1, P::bluesky, true, true);
    const SocialAccount disabledDef = account(1, P::bluesky, true, false);
    const SocialAccount other = account(2, P::bluesky, false, true);
    const SocialAccount otherDisabled = account(3, P::bluesky, false, false);
    const SocialAccount xAccount = account(9, P::x, true, true);
    const QList<PlatformType> on{P::bluesky, P::x};

    const Case cases[] = {
        {"platform disabled globally", {def, other}, {P::x}, M::allEnabled, {}, false,
         "filtered out: platform type not enabled", {}},
        {"defaults: stored enabled id wins over default", {def, other}, on, M::defaults, {2}, true,
         "included: has stored enabled accounts", {2}},
        {"defaults: stored ids deleted, default used", {def, other}, on, M::defaults, {7}, true,
         "included: default account is enabled", {1}},
        {"defaults: stored ids disabled, default used", {def, otherDisabled}, on, M::defaults, {3}, true,
         "included: default account is enabled", {1}},
        {"defaults: disabled default is not replaced", {disabledDef, other}, on, M::defaults, {}, false,
         "filtered out: default account is disabled", {}},
        {"defaults: no default falls back to enabled", {other, otherDisabled}, on, M::defaults, {}, true,
         "included: has enabled accounts (fallback)", {2}},
        {"defaults: no default and none enabled", {otherDisabled, xAccount}, on, M::defaults, {}, false,
         "filtered out: no enabled accounts (fallback)", {}},
        {"defaults: an id of another platform does not count", {disabledDef, xAccount}, on, M::defaults, {9}, false,
         "filtered out: default account is disabled", {}},
        {"allEnabled: every enabled account", {def, other, otherDisabled}, on, M::allEnabled, {}, true,
         "included: has enabled accounts", {1, 2}},
        {"allEnabled: none enabled", {disabledDef, otherDisabled}, on, M::allEnabled, {}, false,
         "filtered out: no enabled accounts", {}},
        {"specific: listed enabled ids", {def, other, otherDisabled}, on, M::specific, {3, 2}, true,
         "included: has enabled account", {2}},
        {"specific: listed ids all deleted", {def, other}, on, M::specific, {5, 6}, false,
         "filtered out: no enabled account found", {}},
        {"specific: nothing listed", {def, other}, on, M::specific, {}, false,
         "filtered out: no enabled account found", {}},
    };

    for (const Case& c : cases) {
        for (const bool viaOverride : {false, true}) {
            ScheduledPost post;
            post.platforms = {QStringLiteral("bluesky")};
            // The per-platform override must win over a contrary global mode.
            post.postingMode = viaOverride ? (c.mode == M::specific ? M::allEnabled : M::specific) : c.mode;
            if (viaOverride)
                post.platformModes.insert(P::bluesky, c.mode);
            for (const int n : c.storedIds)
                post.accountIds[P::bluesky].append(account(n, P::bluesky, false, true).id);

            const AccountSelection selection(c.accounts, c.enabledPlatforms);
            const auto decisions = selection.evaluate(post);
            ASSERT_EQ(decisions.size(), 1);
            EXPECT_EQ(decisions[0].included, c.included) << c.name;
            EXPECT_EQ(decisions[0].reason, QString::fromUtf8(c.reason)) << c.name;

            QList<int> through;
            for (const SocialAccount& a : selection.accountsFor(post, P::bluesky))
                through.append(a.id.toString(QUuid::WithoutBraces).right(12).toInt());
            EXPECT_EQ(through, c.publishedThrough) << c.name;
        }
    }
}

TEST(AccountSelection, EachNamedPlatformIsDecidedInOrder)
{
    const QList<SocialAccount> accounts{account(1, P::x, true, true), account(2, P::mastodon, false, false)};
    const QList<PlatformType> enabled{P::x, P::mastodon};
    ScheduledPost post;
    post.platforms = {QStringLiteral("X"), QStringLiteral("bluesky"), QStringLiteral("mastodon"), QStringLiteral("myspace")};

    const auto decisions = AccountSelection(accounts, enabled).evaluate(post);
    ASSERT_EQ(decisions.size(), 4);
    EXPECT_TRUE(decisions[0].included);
    EXPECT_EQ(decisions[0].platform, P::x);
    EXPECT_EQ(decisions[1].reason, u"filtered out: platform type not enabled");
    EXPECT_EQ(decisions[2].reason, u"filtered out: no enabled accounts (fallback)");
    EXPECT_FALSE(decisions[3].included);
}

} // namespace
