// The minute loop on a manual clock with the real post store and account manager, and
// publishers that record what reached them.
#include "scheduling_stack.h"
#include "support/coro_wait.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

class Loop : public ::testing::Test, protected SchedulingStack {
protected:
    QUuid schedule(double secondsFromNow, int length = 1, PostStatus status = PostStatus::queued)
    {
        ScheduledPost post;
        for (int i = 0; i < length; ++i) {
            Post item;
            item.text = QStringLiteral("part %1").arg(i + 1);
            post.content.append(item);
        }
        post.scheduledDate = clock.now().addSeconds(secondsFromNow);
        post.platforms = {QStringLiteral("x")};
        post.status = status;
        return store.addOrUpdate(post);
    }
    PostStatus statusOf(const QUuid& id) const { return store.scheduledPost(id)->status; }
};

Timestamp at(const char* iso)
{
    return *Timestamp::fromIso8601(QString::fromLatin1(iso));
}

} // namespace

TEST(SchedulerAlignment, WakesExactlyOnTheNextFullMinute)
{
    using std::chrono::nanoseconds;
    EXPECT_EQ(SchedulerLoop::delayToNextMinute(at("2026-11-23T10:04:59.250Z")), nanoseconds(750'000'000));
    // Started exactly on a minute: the whole next minute, never zero.
    EXPECT_EQ(SchedulerLoop::delayToNextMinute(at("2026-11-23T10:05:00Z")), nanoseconds(60'000'000'000));
    // Dates are doubles: a thousandth of a second is kept to well under a microsecond.
    EXPECT_NEAR(double(SchedulerLoop::delayToNextMinute(at("2026-11-23T10:05:00.001Z")).count()), 59'999'000'000.0, 1000.0);
}

TEST_F(Loop, DuePostsGoOutOnceAndTheRestWait)
{
    FakePublisher& publisher = publishers.add(x.id, QStringLiteral("x"));
    const QUuid overdue = schedule(-3600, 2); // the computer was asleep
    const QUuid later = schedule(120);
    const QUuid draft = schedule(-60, 1, PostStatus::draft);
    ScheduledPost nowhere;
    nowhere.content = {Post{}};
    nowhere.content[0].text = QStringLiteral("to a disabled platform");
    nowhere.scheduledDate = clock.now();
    nowhere.platforms = {QStringLiteral("mastodon")};
    const QUuid skipped = store.addOrUpdate(nowhere);

    // A second pass that starts while the first is still publishing leaves it alone.
    publisher.holdBeforePost = true;
    QCoro::Task<void> first = loop.checkScheduledPosts();
    waitForTask(loop.checkScheduledPosts());
    waitForTask(std::move(first));

    EXPECT_EQ(statusOf(overdue), PostStatus::published);
    ASSERT_EQ(publisher.jobs.size(), 1);
    EXPECT_EQ(publisher.jobs[0].thread.size(), 2);
    EXPECT_EQ(statusOf(later), PostStatus::queued);
    EXPECT_EQ(statusOf(draft), PostStatus::draft);
    EXPECT_EQ(statusOf(skipped), PostStatus::queued);

    clock.advance(180);
    waitForTask(loop.checkScheduledPosts());
    EXPECT_EQ(statusOf(later), PostStatus::published);
    EXPECT_EQ(publisher.jobs.size(), 2);
}

TEST_F(Loop, FailuresAreRecordedAndAnInterruptedPostIsNeverRepeatedBlindly)
{
    FakePublisher& publisher = publishers.add(x.id, QStringLiteral("x"));
    const QUuid broken = schedule(-1);
    ScheduledPost withMedia = *store.scheduledPost(broken);
    PostMedia gone;
    gone.id = QUuid::createUuid();
    gone.originalPath = FileUrl::fromLocalFile(home.path() + QStringLiteral("/gone.png"));
    withMedia.content[0].mediaItems = {gone};
    store.addOrUpdate(withMedia, broken);
    const QUuid failing = schedule(-1, 3);
    publisher.failAt = 1;
    waitForTask(loop.checkScheduledPosts());
    EXPECT_EQ(statusOf(broken), PostStatus::failed);
    EXPECT_TRUE(store.scheduledPost(broken)->error->contains(QStringLiteral("📁 Missing files:\nPost 1, Media 1: ")));
    EXPECT_EQ(statusOf(failing), PostStatus::failed);
    EXPECT_EQ(store.scheduledPost(failing)->error, QStringLiteral("X posting error: boom"));

    // An instance that died mid-publication left this one `processing`: it is settled as
    // failed, naming what had gone out, and not published at the next pass.
    const QUuid interrupted = schedule(-1, 3);
    store.updateStatus(interrupted, PostStatus::processing);
    DeliveryRecord record{interrupted, {}, true};
    record.entry(x.id, PlatformType::x, QStringLiteral("ada")).posts = {DeliveredPost{0, QStringLiteral("77"), QStringLiteral("https://x.example/77")}};
    deliveries.save(record);
    loop.recoverInterrupted();
    EXPECT_EQ(statusOf(interrupted), PostStatus::failed);
    const QString error = *store.scheduledPost(interrupted)->error;
    EXPECT_TRUE(error.startsWith(QStringLiteral("Publishing was interrupted")));
    EXPECT_TRUE(error.contains(QStringLiteral("X.com ada: post 1 of 3 delivered (https://x.example/77)"))) << error.toStdString();
    publisher.jobs.clear();
    waitForTask(loop.checkScheduledPosts());
    EXPECT_TRUE(publisher.jobs.isEmpty());

    // Queued again (the retry command does this), it continues after post 1.
    publisher.failAt = -1;
    store.updateStatus(interrupted, PostStatus::queued, std::nullopt);
    waitForTask(loop.checkScheduledPosts());
    EXPECT_EQ(statusOf(interrupted), PostStatus::published);
    ASSERT_EQ(publisher.jobs.size(), 1);
    EXPECT_EQ(publisher.jobs[0].from, 1);
    EXPECT_EQ(publisher.jobs[0].previous->id, QStringLiteral("77"));

    // The crash came before the list's own save: the list still says queued, but the
    // record written before anything was sent says a publication was under way.
    const QUuid unsaved = schedule(-1);
    ASSERT_TRUE(deliveries.setInProgress(unsaved, true));
    loop.recoverInterrupted();
    EXPECT_EQ(statusOf(unsaved), PostStatus::failed);
    EXPECT_TRUE(store.scheduledPost(unsaved)->error->contains(QStringLiteral("Nothing had been delivered yet")));
    EXPECT_TRUE(deliveries.inProgress().isEmpty());
}

// The count of posts with a live destination is kept up to date change by change; after
// each kind of change it must equal what a freshly built loop counts from scratch.
TEST_F(Loop, LiveCountFollowsEveryChange)
{
    const auto loggedCount = [](SchedulerLoop& counting) {
        LogCapture log;
        waitForTask(counting.checkScheduledPosts());
        const QStringList lines = log.linesHoldingAnyOf({QStringLiteral("scheduled posts with active destinations")});
        return lines.isEmpty() ? QString() : lines.first().section(u' ', -6, -6);
    };
    const auto expectFreshCount = [&](const char* step) {
        SCOPED_TRACE(step);
        SchedulerLoop fresh(store, accounts, publishing, validator, publishers, deliveries, clock);
        EXPECT_EQ(loggedCount(loop), loggedCount(fresh));
    };
    const QUuid a = schedule(600);
    schedule(700);
    ScheduledPost mastodon = *store.scheduledPost(a);
    mastodon.platforms = {QStringLiteral("mastodon")};
    const QUuid toMastodon = store.addOrUpdate(mastodon);
    EXPECT_EQ(loggedCount(loop), QStringLiteral("2"));
    expectFreshCount("added");

    store.updateStatus(a, PostStatus::draft);
    expectFreshCount("status changed");
    mastodon.platforms = {QStringLiteral("x")};
    store.addOrUpdate(mastodon, toMastodon);
    expectFreshCount("edited to an enabled platform");
    store.deletePost(toMastodon);
    expectFreshCount("deleted");
    accounts.setPlatformEnabled(PlatformType::x, false);
    expectFreshCount("platform disabled");
    EXPECT_EQ(loggedCount(loop), QStringLiteral("0"));
    accounts.setPlatformEnabled(PlatformType::x, true);
    store.clearAll();
    expectFreshCount("cleared");
}
