// URL commands against real stores: messages of bad commands, how `schedule` builds a
// post, `scheduled` edits and deletes, `accounts` and the platform switch.
#include "handler_fixture.h"

#include "commands/command_thread.h"
#include "core/preference_keys.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

#include <random>

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
        {QStringLiteral("https://open"), QStringLiteral("Invalid URL scheme. Expected 'quillo'")},
        {QStringLiteral("quillo://publish"),
         QStringLiteral("Unknown action: 'publish'. Valid actions: compose, schedule, calendar, settings, license, open, accounts")},
        {QStringLiteral("quillo://scheduled"), QStringLiteral("Missing action parameter. Use 'edit' or 'delete'")},
        {QStringLiteral("quillo://scheduled?action=move"), QStringLiteral("Unknown scheduled action: 'move'. Valid actions: 'edit', 'delete'")},
        {QStringLiteral("quillo://scheduled?action=edit&id=nope"), QStringLiteral("Invalid or missing post ID")},
        {QStringLiteral("quillo://scheduled?action=delete&id=6F9619FF-8B86-D011-B42D-00C04FC964FF"),
         QStringLiteral("Scheduled post not found with ID: 6F9619FF-8B86-D011-B42D-00C04FC964FF")},
        {QStringLiteral("quillo://schedule?text=hi&date=tomorrow&stealthMode=true"),
         QStringLiteral("Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)")},
        {QStringLiteral("quillo://schedule?text=hi&date=2024-02-30T10:00:00Z&stealthMode=true"),
         QStringLiteral("Invalid date format. Use ISO8601 format (e.g., 2024-12-25T10:00:00Z or 2024-12-25T10:00:00)")},
        {QStringLiteral("quillo://schedule?text=hi&media=/no/such/file.png&stealthMode=true"), QStringLiteral("File not found: /no/such/file.png")},
        {QStringLiteral("quillo://schedule?text=hi&status=published&stealthMode=true"),
         QStringLiteral("Invalid parameter: status must be 'draft' or 'queued', not 'published'")},
        {QStringLiteral("quillo://schedule?thread=[1,2]&stealthMode=true"),
         QStringLiteral("Invalid parameter: thread must be a non-empty JSON array of texts")},
        {QStringLiteral("quillo://accounts?action=rename"), QStringLiteral("Unknown accounts action: 'rename'. Valid: add, remove, edit, set-default")},
        {QStringLiteral("quillo://accounts?action=add"), QStringLiteral("platform parameter required (x, bluesky, mastodon)")},
        {QStringLiteral("quillo://accounts?action=add&platform=myspace"), QStringLiteral("Invalid platform: myspace. Valid: x, bluesky, mastodon")},
        {QStringLiteral("quillo://accounts?action=remove&platform=x"), QStringLiteral("One of: id, name, or nickname required")},
        {QStringLiteral("quillo://accounts?action=remove&platform=x&name=nobody"), QStringLiteral("Account not found")},
        {QStringLiteral("quillo://accounts?action=edit&platform=x&name=work"),
         QStringLiteral("At least one edit parameter required: set-nickname, set-enabled")},
        {QStringLiteral("quillo://accounts?action=edit&platform=x"), QStringLiteral("One of: id, name, or nickname required to identify account")},
        {QStringLiteral("quillo://accounts?action=set-default&platform=mastodon&name=a"), QStringLiteral("No accounts found for platform: mastodon")},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(send(c.url), CommandOutcome::failure(c.message)) << c.url.toStdString();
    }
    EXPECT_TRUE(stored().isEmpty());
    EXPECT_EQ(accounts.accounts().size(), 3);
}

TEST_F(HandlerFixture, AlertsNameTheKindOfFailureAndStealthShowsNone)
{
    send(QStringLiteral("quillo://publish"));
    send(QStringLiteral("quillo://scheduled?action=move"));
    send(QStringLiteral("quillo://scheduled?action=move&stealthMode=true"));
    ASSERT_EQ(alerts.size(), 2);
    EXPECT_EQ(alerts[0][0].toString(), QStringLiteral("Invalid URL Action"));
    EXPECT_EQ(alerts[1][0].toString(), QStringLiteral("URL Scheme Error"));
}

TEST_F(HandlerFixture, ScheduleReadsEveryDateForm)
{
    struct Case {
        QString date;
        QDateTime expected;
    };
    // Zone-less forms are read in the command's time zone.
    const Case cases[] = {
        {QStringLiteral("2030-12-25T10:00:00.250Z"), utc(QStringLiteral("2030-12-25T10:00:00.250Z"))},
        {QStringLiteral("2030-12-25T10:00:00%2B02:00"), utc(QStringLiteral("2030-12-25T08:00:00Z"))},
        {QStringLiteral("2030-12-25T10:00:00.500"), utc(QStringLiteral("2030-12-25T09:00:00.500Z"))},
        {QStringLiteral("2030-12-25T10:00:00"), utc(QStringLiteral("2030-12-25T09:00:00Z"))},
        {QStringLiteral("2030-12-25T10:00"), utc(QStringLiteral("2030-12-25T09:00:00Z"))},
    };
    for (const Case& c : cases) {
        scheduler.clearAll();
        const auto outcome = send(QStringLiteral("quillo://schedule?text=hi&timezone=Europe/Berlin&stealthMode=true&date=") + c.date);
        ASSERT_TRUE(outcome.ok) << outcome.message.toStdString();
        const ScheduledPost post = storedOne();
        EXPECT_EQ(post.scheduledDate.toDateTime(), c.expected) << c.date.toStdString();
        EXPECT_EQ(post.timeZoneIdentifier, QStringLiteral("Europe/Berlin"));
    }
}

TEST_F(HandlerFixture, StealthScheduleBuildsThePostFromItsParameters)
{
    clock.advance(90);
    const auto outcome = send(QStringLiteral("quillo://schedule?text=Hello%20world&stealthMode=true"));
    EXPECT_EQ(outcome, CommandOutcome::success(QStringLiteral("Scheduled in background (stealth mode)")));
    ScheduledPost post = storedOne();
    // Queued without a date: an hour from now; platforms: the enabled ones.
    EXPECT_EQ(post.status, PostStatus::queued);
    EXPECT_EQ(post.scheduledDate, clock.now().addSeconds(3600));
    EXPECT_EQ(post.platforms, (QStringList{QStringLiteral("x"), QStringLiteral("bluesky")}));
    ASSERT_EQ(post.content.size(), 1);
    EXPECT_EQ(post.content[0].text, QStringLiteral("Hello world"));
    EXPECT_EQ(post.postingMode, ScheduledPostingMode::defaults);

    scheduler.clearAll();
    ASSERT_TRUE(send(QStringLiteral("quillo://schedule?text=a%0A%0A---%0A%0Ab&thread=true&status=draft&platforms=x,friendster,bluesky"
                                    "&postingMode=specific&blueskyMode=allEnabled&xAccounts=@Work,home"
                                    "&xShareWithFollowers=work:true,home:false&quote=https://x.com/someone/status/42"
                                    "&stealthMode=true"))
                    .ok);
    post = storedOne();
    EXPECT_EQ(post.status, PostStatus::draft);
    EXPECT_EQ(post.platforms, (QStringList{QStringLiteral("x"), QStringLiteral("bluesky")}));
    ASSERT_EQ(post.content.size(), 2);
    EXPECT_EQ(post.content[1].text, QStringLiteral("b"));
    EXPECT_EQ(post.content[0].quoteContext->idOn(PlatformType::x), QStringLiteral("42"));
    EXPECT_EQ(post.postingMode, ScheduledPostingMode::specific);
    EXPECT_EQ(post.platformModes.value(PlatformType::bluesky), ScheduledPostingMode::allEnabled);
    // "@Work" is the nickname with the X "@" stripped.
    EXPECT_EQ(post.accountIds.value(PlatformType::x), (QList<QUuid>{work, personal}));
    EXPECT_EQ(post.xShareWithFollowers, (QMap<QUuid, bool>{{work, true}, {personal, false}}));
}

TEST_F(HandlerFixture, AutosplitCutsForTheNetworksThePostGoesTo)
{
    // 400 CJK characters: X weighs them double, so its pieces hold 140; Bluesky alone takes 300.
    const QString cjk = QString(400, QChar(0x8A9E));
    const QString encoded = QString::fromUtf8(QUrl::toPercentEncoding(cjk));
    const struct {
        QString platforms;
        QList<qsizetype> sizes;
    } cases[] = {
        {QStringLiteral("x,bluesky"), {140, 140, 120}},
        {QStringLiteral("bluesky"), {300, 100}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.platforms.toStdString());
        scheduler.clearAll();
        ASSERT_TRUE(send(QStringLiteral("quillo://schedule?autosplit=true&stealthMode=true&platforms=") + c.platforms
                         + QStringLiteral("&text=") + encoded)
                        .ok);
        const ScheduledPost post = storedOne();
        QList<qsizetype> sizes;
        for (const Post& piece : post.content)
            sizes.append(piece.text.size());
        EXPECT_EQ(sizes, c.sizes);
    }
}

TEST_F(HandlerFixture, NonStealthScheduleOpensTheSchedulerAndStoresNothing)
{
    QSignalSpy requests(&events, &AppEvents::schedulerRequested);
    EXPECT_EQ(send(QStringLiteral("quillo://schedule?text=later")), CommandOutcome::success(QStringLiteral("Opened scheduler with prefilled config")));
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0][0].value<ScheduledPost>().content[0].text, QStringLiteral("later"));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(HandlerFixture, EditsFollowTheStatusAndContentRules)
{
    ScheduledPost post;
    post.id = QUuid::createUuid();
    post.content = {Post::create(QStringLiteral("one")), Post::create(QStringLiteral("two"))};
    post.scheduledDate = Timestamp::fromDateTime(utc(QStringLiteral("2030-01-01T00:00:00Z")));
    post.platforms = {QStringLiteral("x")};
    post.status = PostStatus::failed;
    const QUuid id = scheduler.addOrUpdate(post);
    const QString base = QStringLiteral("quillo://scheduled?action=edit&stealthMode=true&id=") + id.toString(QUuid::WithoutBraces);

    EXPECT_EQ(send(base + QStringLiteral("&status=published")),
              CommandOutcome::failure(
                  QStringLiteral("Invalid status change: can only set status to 'draft' or 'queued'. Current status: failed")));
    EXPECT_EQ(send(base + QStringLiteral("&text=solo")).ok, false);

    // Ops apply in order and an unknown one is skipped; the single-quoted accounts parse.
    const QString ops = QString::fromUtf8(QUrl::toPercentEncoding(
        QStringLiteral(R"([{"op":"insert","index":0,"text":"zero"},{"op":"explode","index":1},{"op":"replace","index":2,"text":"TWO"},{"op":"delete","index":1},{"op":"append","text":"end"}])")));
    const QString selection = QString::fromUtf8(QUrl::toPercentEncoding(QStringLiteral("{'x':['work'],'bluesky':'all'}")));
    ASSERT_TRUE(send(base + QStringLiteral("&status=queued&threadOps=") + ops + QStringLiteral("&accounts=") + selection).ok);
    ScheduledPost edited = storedOne();
    QStringList texts;
    for (const Post& p : std::as_const(edited.content))
        texts << p.text;
    EXPECT_EQ(texts, (QStringList{QStringLiteral("zero"), QStringLiteral("TWO"), QStringLiteral("end")}));
    EXPECT_EQ(edited.status, PostStatus::queued);
    EXPECT_EQ(edited.id, id);
    EXPECT_EQ(edited.platformModes.value(PlatformType::x), ScheduledPostingMode::specific);
    EXPECT_EQ(edited.accountIds.value(PlatformType::x), QList<QUuid>{work});
    EXPECT_EQ(edited.platformModes.value(PlatformType::bluesky), ScheduledPostingMode::allEnabled);

    // Unparsable accounts leave the selection as it was; the rest of the edit applies.
    ASSERT_TRUE(send(base + QStringLiteral("&accounts=%7Bx:&thread=%5B%22only%22%5D")).ok);
    edited = storedOne();
    EXPECT_EQ(edited.accountIds.value(PlatformType::x), QList<QUuid>{work});
    ASSERT_EQ(edited.content.size(), 1);
    EXPECT_EQ(edited.content[0].text, QStringLiteral("only"));

    // A bad op index fails the whole edit.
    EXPECT_FALSE(send(base + QStringLiteral("&threadOps=%5B%7B%22op%22:%22delete%22,%22index%22:5%7D%5D")).ok);
    EXPECT_EQ(storedOne().content.size(), 1);

    // Published posts are read-only, but may still be deleted.
    scheduler.updateStatus(id, PostStatus::published);
    const QString upper = id.toString(QUuid::WithoutBraces).toUpper();
    EXPECT_EQ(send(base + QStringLiteral("&text=changed")),
              CommandOutcome::failure(QStringLiteral("Cannot edit a published post (ID: ") + upper + QStringLiteral("). Published posts are read-only.")));
    EXPECT_EQ(storedOne().content[0].text, QStringLiteral("only"));
    EXPECT_EQ(send(QStringLiteral("quillo://scheduled?action=delete&stealthMode=true&id=") + upper),
              CommandOutcome::success(QStringLiteral("Scheduled post deleted in background (stealth mode)")));
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(HandlerFixture, AccountCommandsAndThePlatformSwitch)
{
    EXPECT_EQ(send(QStringLiteral("quillo://settings?platform=mastodon&set-enabled=true")),
              CommandOutcome::success(QStringLiteral("Toggled mastodon platform to true")));
    EXPECT_TRUE(accounts.isEnabled(PlatformType::mastodon));

    EXPECT_EQ(send(QStringLiteral("quillo://accounts?action=edit&platform=x&name=@home&set-nickname=Home&set-enabled=false")),
              CommandOutcome::success(QStringLiteral("Updated account @home")));
    EXPECT_EQ(accounts.account(personal)->nickname, QStringLiteral("Home"));
    EXPECT_FALSE(accounts.account(personal)->isEnabled);

    EXPECT_EQ(send(QStringLiteral("quillo://accounts?action=set-default&platform=x&nickname=Home")),
              CommandOutcome::success(QStringLiteral("Set @home as default for x")));
    EXPECT_EQ(accounts.defaultAccount(PlatformType::x)->id, personal);

    EXPECT_EQ(send(QStringLiteral("quillo://accounts?action=remove&platform=x&id=") + work.toString(QUuid::WithoutBraces)),
              CommandOutcome::success(QStringLiteral("Removed account @work")));
    EXPECT_FALSE(accounts.account(work));

    QSignalSpy connects(&events, &AppEvents::accountConnectRequested);
    QSignalSpy prefills(&events, &AppEvents::prefillMastodonInstanceRequested);
    EXPECT_EQ(send(QStringLiteral("quillo://accounts?action=add&platform=mastodon&instance=fosstodon.org")),
              CommandOutcome::success(QStringLiteral("Opened mastodon account settings (addAccount=true, autoConnect=true)")));
    EXPECT_EQ(send(QStringLiteral("quillo://accounts?action=add&platform=x&autoConnect=false")).ok, true);
    EXPECT_EQ(connects.size(), 1);
    ASSERT_EQ(prefills.size(), 1);
    EXPECT_EQ(prefills[0][0].toString(), QStringLiteral("fosstodon.org"));
}

// A stored thread may hold no post at all ("content": [] decodes). Every kind of edit of
// such a post either applies or is refused; none ends the instance.
TEST_F(HandlerFixture, EditsOfAThreadWithoutPostsNeverCrash)
{
    const QStringList edits = {
        QStringLiteral("&media="),
        QStringLiteral("&media=&text=x"),
        QStringLiteral("&text=x"),
        QStringLiteral("&text=x&autosplit=true"),
        QStringLiteral("&thread=%5B%22a%22%5D"),
        QStringLiteral("&threadOps=%5B%7B%22op%22:%22append%22,%22text%22:%22a%22%7D%5D"),
        QStringLiteral("&threadOps=%5B%7B%22op%22:%22delete%22,%22index%22:0%7D%5D"),
        QStringLiteral("&status=draft"),
        QStringLiteral("&accounts=all&platforms=x"),
    };
    for (const QString& edit : edits) {
        for (const QString& stealth : {QStringLiteral("true"), QStringLiteral("false")}) {
            scheduler.clearAll();
            ScheduledPost empty;
            empty.id = QUuid::createUuid();
            empty.scheduledDate = Timestamp::fromDateTime(utc(QStringLiteral("2030-01-01T00:00:00Z")));
            empty.platforms = {QStringLiteral("x")};
            const QUuid id = scheduler.addOrUpdate(empty);
            const CommandOutcome outcome = send(QStringLiteral("quillo://scheduled?action=edit&id=")
                                                + id.toString(QUuid::WithoutBraces) + edit
                                                + QStringLiteral("&stealthMode=") + stealth);
            if (outcome.ok && edit.startsWith(QStringLiteral("&media="))) {
                EXPECT_EQ(storedOne().content.size(), 1) << edit.toStdString();
            }
        }
    }
}

TEST_F(HandlerFixture, UnmatchedAccountNamesFailTheCommandAndNameThemAll)
{
    const QUuid apostrophe = addAccount(PlatformType::bluesky, QStringLiteral("Ada's sky"),
                                        {{QStringLiteral("handle"), QStringLiteral("ada.bsky.social")},
                                         {QStringLiteral("appPassword"), QStringLiteral("pw")}});
    const QString base = QStringLiteral("quillo://schedule?text=hi&stealthMode=true&postingMode=specific");
    EXPECT_EQ(send(base + QStringLiteral("&xAccounts=work,ghost,phantom")),
              CommandOutcome::failure(QStringLiteral("No account matches 'ghost' (x), 'phantom' (x); nothing was changed")));
    const QString selection = QString::fromUtf8(QUrl::toPercentEncoding(QStringLiteral(R"({"bluesky":["nobody"],"x":["work"]})")));
    EXPECT_EQ(send(base + QStringLiteral("&accounts=") + selection),
              CommandOutcome::failure(QStringLiteral("No account matches 'nobody' (bluesky); nothing was changed")));
    EXPECT_TRUE(stored().isEmpty());

    // Names with apostrophes, as JSON (the apostrophe escaped or not) and as a JSON list.
    for (const QString& form : {QStringLiteral(R"({"bluesky":["Ada\u0027s sky"]})"), QStringLiteral(R"({"bluesky":["Ada's sky"]})")}) {
        scheduler.clearAll();
        const auto outcome = send(base + QStringLiteral("&accounts=") + QString::fromUtf8(QUrl::toPercentEncoding(form)));
        ASSERT_TRUE(outcome.ok) << outcome.message.toStdString();
        EXPECT_EQ(storedOne().accountIds.value(PlatformType::bluesky), QList<QUuid>{apostrophe});
    }
    scheduler.clearAll();
    ASSERT_TRUE(send(base + QStringLiteral("&blueskyAccounts=") + QString::fromUtf8(QUrl::toPercentEncoding(QStringLiteral(R"(["Ada's sky"])"))))
                    .ok);
    EXPECT_EQ(storedOne().accountIds.value(PlatformType::bluesky), QList<QUuid>{apostrophe});
}

TEST_F(HandlerFixture, CalendarTakesADayAloneAndRefusesWhatIsNoDate)
{
    QSignalSpy requests(&events, &AppEvents::calendarRequested);
    ASSERT_TRUE(send(QStringLiteral("quillo://calendar?date=2025-01-15&view=month")).ok);
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests[0][1].toDateTime(), QDate(2025, 1, 15).startOfDay(QTimeZone::systemTimeZone()));
    ASSERT_TRUE(send(QStringLiteral("quillo://calendar?date=2025-01-15T10:30:00Z")).ok);
    EXPECT_EQ(requests[1][1].toDateTime(), utc(QStringLiteral("2025-01-15T10:30:00Z")));
    EXPECT_FALSE(send(QStringLiteral("quillo://calendar?date=2025-13-45")).ok);
    // A view or filter the calendar does not have is refused before any window opens.
    EXPECT_FALSE(send(QStringLiteral("quillo://calendar?view=year")).ok);
    EXPECT_FALSE(send(QStringLiteral("quillo://calendar?status=lost")).ok);
    EXPECT_EQ(requests.size(), 2);
}

TEST_F(HandlerFixture, AMissingAutosplitFollowsTheSetting)
{
    handler.setPreferences(&preferences);
    const QString text = QString(799, u'a').replace(QRegularExpression(QStringLiteral("a{9}")), QStringLiteral("aaaaaaaa "));
    const QString url = QStringLiteral("quillo://schedule?stealthMode=true&text=") + QString::fromUtf8(QUrl::toPercentEncoding(text));
    for (const std::optional<bool> setting : {std::optional<bool>(), std::optional<bool>(true), std::optional<bool>(false)}) {
        scheduler.clearAll();
        if (setting)
            preferences.setValue(PreferenceKeys::AutoSplitEnabled, *setting);
        ASSERT_TRUE(send(url).ok);
        const ScheduledPost post = storedOne();
        if (setting == false) {
            EXPECT_EQ(post.content.size(), 1);
            continue;
        }
        EXPECT_GE(post.content.size(), 3);
        for (const Post& piece : post.content)
            EXPECT_LE(piece.text.size(), 280);
    }
    // Said explicitly, the command wins over the setting.
    scheduler.clearAll();
    ASSERT_TRUE(send(url + QStringLiteral("&autosplit=true")).ok);
    EXPECT_GE(storedOne().content.size(), 3);
}

// Posts written as one text with "---" lines between them, in every way people type
// the break: the posts come back as written.
TEST(CommandThread, BreakLinesSeparateThePostsOfAThread)
{
    const QStringList breaks = {QStringLiteral("\n---\n"), QStringLiteral("\n\n---\n\n"), QStringLiteral("\r\n---\r\n"),
                                QStringLiteral("\n  ---\t\n"), QStringLiteral("\n---")};
    const QStringList words = {QStringLiteral("one"), QStringLiteral("two-three"), QStringLiteral("--"), QStringLiteral("a---b"),
                               QStringLiteral("ü🎉"), QStringLiteral("line\nbreak")};
    std::mt19937 engine(3);
    for (int round = 0; round < 300; ++round) {
        QStringList posts;
        QString text;
        const int count = 1 + int(engine() % 5);
        for (int i = 0; i < count; ++i) {
            QString post = words[qsizetype(engine() % words.size())];
            for (int w = int(engine() % 3); w > 0; --w)
                post += u' ' + words[qsizetype(engine() % words.size())];
            posts << post;
            text += (i == 0 ? QString() : breaks[qsizetype(engine() % (breaks.size() - 1))]) + post;
        }
        EXPECT_EQ(CommandThread::splitAtBreaks(text), posts) << text.toStdString();
        EXPECT_EQ(CommandThread::textsFor(text, true, false), posts);
    }
    EXPECT_EQ(CommandThread::splitAtBreaks(QStringLiteral("---")), QStringList{QString()});
    EXPECT_EQ(CommandThread::splitAtBreaks(QStringLiteral("a\n---")), QStringList{QStringLiteral("a")});
}

TEST_F(HandlerFixture, WithoutWindowsCommandsThatOnlyOpenOneSaySo)
{
    handler.setWindowless(QStringLiteral("No window in headless mode"));
    for (const char* url : {"quillo://compose?text=hi", "quillo://schedule?text=hi", "quillo://calendar", "quillo://settings",
                            "quillo://license?action=view"}) {
        const CommandOutcome outcome = send(QString::fromLatin1(url));
        EXPECT_FALSE(outcome.ok) << url;
        EXPECT_TRUE(outcome.message.startsWith(QStringLiteral("No window in headless mode: "))) << outcome.message.toStdString();
    }
    EXPECT_TRUE(stored().isEmpty());
    // What changes stored state still works.
    EXPECT_TRUE(send(QStringLiteral("quillo://schedule?text=hi&stealthMode=true")).ok);
    EXPECT_TRUE(send(QStringLiteral("quillo://settings?platform=mastodon&set-enabled=true")).ok);
    EXPECT_EQ(stored().size(), 1);
}
