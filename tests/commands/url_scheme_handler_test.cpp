// URL commands against real stores: messages of bad commands, how `schedule` builds a
// post, `scheduled` edits and deletes, `accounts` and the platform switch.
#include "handler_fixture.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(const QString& text)
{
    return QDateTime::fromString(text, Qt::ISODate).toUTC();
}

} // namespace

TEST_F(HandlerFixture, BadCommandsFailWithTheirMessageAndStoreNothing)
{
    struct Case {
        QString url;
        QString message;
    };
    const Case cases[] = {
        {u"https://open"_s, u"Invalid URL scheme. Expected 'quillo'"_s},
        {u"quillo://publish"_s,
         u"Unknown action: 'publish'. Valid actions: compose, schedule, calendar, settings, license, open, accounts"_s},
        {u"quillo://scheduled"_s, u"Missing action parameter. Use 'edit' or 'delete'"_s},
        {u"quillo://scheduled?action=move"_s, u"Unknown scheduled action: 'move'. Valid actions: 'edit', 'delete'"_s},
        {u"quillo://scheduled?action=edit&id=nope"_s, u"Invalid or missing post ID"_s},
        {u"quillo://scheduled?action=delete&id=6F9619FF-8B86-D011-B42D-00C04FC964FF"_s,
         u"Scheduled post not found with ID: 6F9619FF-8B86-D011-B42D-00C04FC964FF"_s},
        {u"quillo://schedule?text=hi&date=tomorrow&stealthMode=true"_s,
         u"Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)"_s},
        {u"quillo://schedule?text=hi&date=2024-02-30T10:00:00Z&stealthMode=true"_s,
         u"Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)"_s},
        {u"quillo://schedule?text=hi&media=/no/such/file.png&stealthMode=true"_s, u"File not found: /no/such/file.png"_s},
        {u"quillo://schedule?text=hi&status=published&stealthMode=true"_s,
         u"Invalid parameter: status must be 'draft' or 'queued', not 'published'"_s},
        {u"quillo://schedule?thread=[1,2]&stealthMode=true"_s,
         u"Invalid parameter: thread must be a non-empty JSON array of texts"_s},
        {u"quillo://accounts?action=rename"_s, u"Unknown accounts action: 'rename'. Valid: add, remove, edit, set-default"_s},
        {u"quillo://accounts?action=add"_s, u"platform parameter required (x, bluesky, mastodon)"_s},
        {u"quillo://accounts?action=add&platform=myspace"_s, u"Invalid platform: myspace. Valid: x, bluesky, mastodon"_s},
        {u"quillo://accounts?action=remove&platform=x"_s, u"One of: id, name, or nickname required"_s},
        {u"quillo://accounts?action=remove&platform=x&name=nobody"_s, u"Account not found"_s},
        {u"quillo://accounts?action=edit&platform=x&name=work"_s,
         u"At least one edit parameter required: set-nickname, set-enabled"_s},
        {u"quillo://accounts?action=edit&platform=x"_s, u"One of: id, name, or nickname required to identify account"_s},
        {u"quillo://accounts?action=set-default&platform=mastodon&name=a"_s, u"No accounts found for platform: mastodon"_s},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(send(c.url), CommandOutcome::failure(c.message)) << c.url.toStdString();
    }
    EXPECT_TRUE(stored().isEmpty());
    EXPECT_EQ(accounts.accounts().size(), 3);
}

TEST_F(HandlerFixture, AlertsNameTheKindOfFailureAndStealthShowsNone)
{
    send(u"quillo://publish"_s);
    send(u"quillo://scheduled?action=move"_s);
    send(u"quillo://scheduled?action=move&stealthMode=true"_s);
    ASSERT_EQ(alerts.size(), 2);
    EXPECT_EQ(alerts[0][0].toString(), u"Invalid URL Action"_s);
    EXPECT_EQ(alerts[1][0].toString(), u"URL Scheme Error"_s);
}

TEST_F(HandlerFixture, ScheduleReadsEveryDateForm)
{
    struct Case {
        QString date;
        QDateTime expected;
    };
    // Zone-less forms are read in the command's time zone.
    const Case cases[] = {
        {u"2030-12-25T10:00:00.250Z"_s, utc(u"2030-12-25T10:00:00.250Z"_s)},
        {u"2030-12-25T10:00:00%2B02:00"_s, utc(u"2030-12-25T08:00:00Z"_s)},
        {u"2030-12-25T10:00:00.500"_s, utc(u"2030-12-25T09:00:00.500Z"_s)},
        {u"2030-12-25T10:00:00"_s, utc(u"2030-12-25T09:00:00Z"_s)},
        {u"2030-12-25T10:00"_s, utc(u"2030-12-25T09:00:00Z"_s)},
    };
    for (const Case& c : cases) {
        scheduler.clearAll();
        const auto outcome = send(u"quillo://schedule?text=hi&timezone=Europe/Berlin&stealthMode=true&date="_s + c.date);
        ASSERT_TRUE(outcome.ok) << outcome.message.toStdString();
        const ScheduledPost post = storedOne();
        EXPECT_EQ(post.scheduledDate.toDateTime(), c.expected) << c.date.toStdString();
        EXPECT_EQ(post.timeZoneIdentifier, u"Europe/Berlin"_s);
    }
}

TEST_F(HandlerFixture, StealthScheduleBuildsThePostFromItsParameters)
{
    clock.advance(90);
    const auto outcome = send(u"quillo://schedule?text=Hello%20world&stealthMode=true"_s);
    EXPECT_EQ(outcome, CommandOutcome::success(u"Scheduled in background (stealth mode)"_s));
    ScheduledPost post = storedOne();
    // Queued without a date: an hour from now; platforms: the enabled ones.
    EXPECT_EQ(post.status, PostStatus::queued);
    EXPECT_EQ(post.scheduledDate, clock.now().addSeconds(3600));
    EXPECT_EQ(post.platforms, (QStringList{u"x"_s, u"bluesky"_s}));
    ASSERT_EQ(post.content.size(), 1);
    EXPECT_EQ(post.content[0].text, u"Hello world"_s);
    EXPECT_EQ(post.postingMode, ScheduledPostingMode::defaults);

    scheduler.clearAll();
    ASSERT_TRUE(send(u"quillo://schedule?text=a%0A%0A---%0A%0Ab&thread=true&status=draft&platforms=x,friendster,bluesky"
                     "&postingMode=specific&blueskyMode=allEnabled&xAccounts=@Work,home,ghost"
                     "&xShareWithFollowers=work:true,home:false&quote=https://x.com/someone/status/42&stealthMode=true"_s)
                    .ok);
    post = storedOne();
    EXPECT_EQ(post.status, PostStatus::draft);
    EXPECT_EQ(post.platforms, (QStringList{u"x"_s, u"bluesky"_s}));
    ASSERT_EQ(post.content.size(), 2);
    EXPECT_EQ(post.content[1].text, u"b"_s);
    EXPECT_EQ(post.content[0].quoteContext->idOn(PlatformType::x), u"42"_s);
    EXPECT_EQ(post.postingMode, ScheduledPostingMode::specific);
    EXPECT_EQ(post.platformModes.value(PlatformType::bluesky), ScheduledPostingMode::allEnabled);
    // "@Work" is the nickname with the X "@" stripped; "ghost" matches nothing.
    EXPECT_EQ(post.accountIds.value(PlatformType::x), (QList<QUuid>{work, personal}));
    EXPECT_EQ(post.xShareWithFollowers, (QMap<QUuid, bool>{{work, true}, {personal, false}}));
}

TEST_F(HandlerFixture, NonStealthScheduleOpensTheSchedulerAndStoresNothing)
{
    QSignalSpy requests(&events, &AppEvents::schedulerRequested);
    EXPECT_EQ(send(u"quillo://schedule?text=later"_s), CommandOutcome::success(u"Opened scheduler with prefilled config"_s));
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0][0].value<ScheduledPost>().content[0].text, u"later"_s);
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(HandlerFixture, EditsFollowTheStatusAndContentRules)
{
    ScheduledPost post;
    post.id = QUuid::createUuid();
    post.content = {Post::create(u"one"_s), Post::create(u"two"_s)};
    post.scheduledDate = Timestamp::fromDateTime(utc(u"2030-01-01T00:00:00Z"_s));
    post.platforms = {u"x"_s};
    post.status = PostStatus::failed;
    const QUuid id = scheduler.addOrUpdate(post);
    const QString base = u"quillo://scheduled?action=edit&stealthMode=true&id="_s + id.toString(QUuid::WithoutBraces);

    EXPECT_EQ(send(base + u"&status=published"_s),
              CommandOutcome::failure(
                  u"Invalid status change: can only set status to 'draft' or 'queued'. Current status: failed"_s));
    EXPECT_EQ(send(base + u"&text=solo"_s).ok, false);

    // Ops apply in order and an unknown one is skipped; the single-quoted accounts parse.
    const QString ops = QString::fromUtf8(QUrl::toPercentEncoding(
        uR"([{"op":"insert","index":0,"text":"zero"},{"op":"explode","index":1},{"op":"replace","index":2,"text":"TWO"},{"op":"delete","index":1},{"op":"append","text":"end"}])"_s));
    const QString selection = QString::fromUtf8(QUrl::toPercentEncoding(u"{'x':['work'],'bluesky':'all'}"_s));
    ASSERT_TRUE(send(base + u"&status=queued&threadOps="_s + ops + u"&accounts="_s + selection).ok);
    ScheduledPost edited = storedOne();
    QStringList texts;
    for (const Post& p : std::as_const(edited.content))
        texts << p.text;
    EXPECT_EQ(texts, (QStringList{u"zero"_s, u"TWO"_s, u"end"_s}));
    EXPECT_EQ(edited.status, PostStatus::queued);
    EXPECT_EQ(edited.id, id);
    EXPECT_EQ(edited.platformModes.value(PlatformType::x), ScheduledPostingMode::specific);
    EXPECT_EQ(edited.accountIds.value(PlatformType::x), QList<QUuid>{work});
    EXPECT_EQ(edited.platformModes.value(PlatformType::bluesky), ScheduledPostingMode::allEnabled);

    // Unparsable accounts leave the selection as it was; the rest of the edit applies.
    ASSERT_TRUE(send(base + u"&accounts=%7Bx:&thread=%5B%22only%22%5D"_s).ok);
    edited = storedOne();
    EXPECT_EQ(edited.accountIds.value(PlatformType::x), QList<QUuid>{work});
    ASSERT_EQ(edited.content.size(), 1);
    EXPECT_EQ(edited.content[0].text, u"only"_s);

    // A bad op index fails the whole edit.
    EXPECT_FALSE(send(base + u"&threadOps=%5B%7B%22op%22:%22delete%22,%22index%22:5%7D%5D"_s).ok);
    EXPECT_EQ(storedOne().content.size(), 1);

    // Published posts are read-only, but may still be deleted.
    scheduler.updateStatus(id, PostStatus::published);
    const QString upper = id.toString(QUuid::WithoutBraces).toUpper();
    EXPECT_EQ(send(base + u"&text=changed"_s),
              CommandOutcome::failure(u"Cannot edit a published post (ID: "_s + upper + u"). Published posts are read-only."_s));
    EXPECT_EQ(storedOne().content[0].text, u"only"_s);
    EXPECT_EQ(send(u"quillo://scheduled?action=delete&stealthMode=true&id="_s + upper),
              CommandOutcome::success(u"Scheduled post deleted in background (stealth mode)"_s));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(HandlerFixture, AccountCommandsAndThePlatformSwitch)
{
    EXPECT_EQ(send(u"quillo://settings?platform=mastodon&set-enabled=true"_s),
              CommandOutcome::success(u"Toggled mastodon platform to true"_s));
    EXPECT_TRUE(accounts.isEnabled(PlatformType::mastodon));

    EXPECT_EQ(send(u"quillo://accounts?action=edit&platform=x&name=@home&set-nickname=Home&set-enabled=false"_s),
              CommandOutcome::success(u"Updated account @home"_s));
    EXPECT_EQ(accounts.account(personal)->nickname, u"Home"_s);
    EXPECT_FALSE(accounts.account(personal)->isEnabled);

    EXPECT_EQ(send(u"quillo://accounts?action=set-default&platform=x&nickname=Home"_s),
              CommandOutcome::success(u"Set @home as default for x"_s));
    EXPECT_EQ(accounts.defaultAccount(PlatformType::x)->id, personal);

    EXPECT_EQ(send(u"quillo://accounts?action=remove&platform=x&id="_s + work.toString(QUuid::WithoutBraces)),
              CommandOutcome::success(u"Removed account @work"_s));
    EXPECT_FALSE(accounts.account(work));

    QSignalSpy connects(&events, &AppEvents::accountConnectRequested);
    QSignalSpy prefills(&events, &AppEvents::prefillMastodonInstanceRequested);
    EXPECT_EQ(send(u"quillo://accounts?action=add&platform=mastodon&instance=fosstodon.org"_s),
              CommandOutcome::success(u"Opened mastodon account settings (addAccount=true, autoConnect=true)"_s));
    EXPECT_EQ(send(u"quillo://accounts?action=add&platform=x&autoConnect=false"_s).ok, true);
    EXPECT_EQ(connects.size(), 1);
    ASSERT_EQ(prefills.size(), 1);
    EXPECT_EQ(prefills[0][0].toString(), u"fosstodon.org"_s);
}
