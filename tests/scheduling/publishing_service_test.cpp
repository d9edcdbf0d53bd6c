// Fan-out of one thread to several accounts: order and status lines, failures that stay
// with their account, resuming from the delivery record, cancelling.
#include "core/app_paths.h"
#include "core/preference_store.h"
#include "media/media_preparation_service.h"
#include "scheduling/publishing_service.h"
#include "store/delivery_record_store.h"
#include "support/coro_wait.h"
#include "support/manual_clock.h"
#include "support/temp_home.h"
#include "scheduling_fakes.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

SocialAccount account(PlatformType platform, const QString& name)
{
    return SocialAccount::create(platform, name, {}, kFixedTestTime);
}

QList<Post> thread(int length)
{
    QList<Post> posts;
    for (int i = 0; i < length; ++i) {
        Post post;
        post.text = QStringLiteral("post %1").arg(i + 1);
        posts.append(post);
    }
    return posts;
}

class Publishing : public ::testing::Test {
protected:
    Publishing()
        : preferences(home.paths())
        , media(exporter, images, preferences, home.path())
        , deliveries(home.path() + QStringLiteral("/deliveries"))
        , service(publishers, media, deliveries)
    {
    }

    TempHome home;
    PreferenceStore preferences;
    UnusedExporter exporter;
    UnusedImageEncoder images;
    MediaPreparationService media;
    DeliveryRecordStore deliveries;
    FakePublisherFactory publishers;
    PublishingService service;
};

} // namespace

TEST_F(Publishing, PlatformsThenAccountsInOrderAndAFailureStaysWithItsAccount)
{
    const SocialAccount toot = account(PlatformType::mastodon, QStringLiteral("ada@example.social"));
    const SocialAccount first = account(PlatformType::x, QStringLiteral("ada"));
    const SocialAccount second = account(PlatformType::x, QStringLiteral("ada_work"));
    publishers.add(toot.id, QStringLiteral("toot"));
    publishers.add(first.id, QStringLiteral("x1")).failAt = 0;
    publishers.add(second.id, QStringLiteral("x2"));
    PublishRequest request;
    request.thread = thread(2);
    request.accounts = {{PlatformType::x, {first, second}}, {PlatformType::mastodon, {toot}}};

    QStringList statuses;
    QObject::connect(&service, &PublishingService::statusChanged, [&](const QString& status) { statuses.append(status); });
    const QList<PublishResult> results = waitForTask(service.publish(request));

    EXPECT_EQ(statuses, (QStringList{QStringLiteral("Publishing to all active accounts..."),
                                     QStringLiteral("Publishing to Mastodon (1/1)..."),
                                     QStringLiteral("Publishing to Mastodon Complete"),
                                     QStringLiteral("Publishing to all X accounts..."), QStringLiteral("Publishing to X (1/2)..."),
                                     QStringLiteral("Publishing to X (2/2)..."), QStringLiteral("Publishing to X Complete"),
                                     QStringLiteral("Publishing Complete")}));
    ASSERT_EQ(results.size(), 3);
    EXPECT_TRUE(results[0].success);
    EXPECT_EQ(results[0].url, QStringLiteral("https://example.net/toot-0"));
    EXPECT_FALSE(results[1].success);
    EXPECT_EQ(results[1].error, QStringLiteral("X posting error: boom"));
    EXPECT_TRUE(results[2].success);
    // Each later post answers the one before: the second account got the whole thread.
    EXPECT_EQ(publishers.publishers[second.id]->jobs.size(), 1);
    EXPECT_EQ(publishers.publishers[second.id]->jobs[0].from, 0);

    // An account whose client cannot be built fails alone, with its own words.
    const SocialAccount stranger = account(PlatformType::bluesky, QStringLiteral("nobody.test"));
    request.accounts = {{PlatformType::bluesky, {stranger}}};
    const QList<PublishResult> missing = waitForTask(service.publish(request));
    EXPECT_TRUE(missing[0].error.startsWith(QStringLiteral("BlueSky posting error: ")));
}

TEST_F(Publishing, ARetryDeliversOnlyWhatIsMissing)
{
    const SocialAccount done = account(PlatformType::mastodon, QStringLiteral("done@example.social"));
    const SocialAccount cut = account(PlatformType::x, QStringLiteral("cut"));
    FakePublisher& complete = publishers.add(done.id, QStringLiteral("m"));
    FakePublisher& partial = publishers.add(cut.id, QStringLiteral("x"));
    partial.failAt = 2;
    PublishRequest request;
    request.thread = thread(4);
    request.scheduledPostId = QUuid::createUuid();
    request.accounts = {{PlatformType::x, {cut}}, {PlatformType::mastodon, {done}}};

    const QList<PublishResult> firstTry = waitForTask(service.publish(request));
    EXPECT_TRUE(firstTry[0].success);
    EXPECT_FALSE(firstTry[1].success);
    const std::optional<DeliveryRecord> record = deliveries.load(*request.scheduledPostId);
    ASSERT_TRUE(record);
    ASSERT_TRUE(record->find(cut.id));
    EXPECT_EQ(record->find(cut.id)->posts.size(), 2);
    EXPECT_FALSE(record->find(cut.id)->complete);
    EXPECT_TRUE(record->find(done.id)->complete);

    partial.failAt = -1;
    const QList<PublishResult> secondTry = waitForTask(service.publish(request));
    EXPECT_TRUE(secondTry[0].success && secondTry[1].success);
    // The finished account is not asked again; the cut thread goes on at post 3 as a reply to post 2.
    EXPECT_EQ(complete.jobs.size(), 1);
    ASSERT_EQ(partial.jobs.size(), 2);
    EXPECT_EQ(partial.jobs[1].from, 2);
    ASSERT_TRUE(partial.jobs[1].previous);
    EXPECT_EQ(partial.jobs[1].previous->id, QStringLiteral("x-1"));
    EXPECT_EQ(secondTry[1].url, QStringLiteral("https://example.net/x-0"));
    EXPECT_EQ(partial.jobs[1].scheduledPostId, *request.scheduledPostId);
}

TEST_F(Publishing, CancellingStopsTheRunningAccountAndSaysWhere)
{
    const SocialAccount first = account(PlatformType::x, QStringLiteral("one"));
    const SocialAccount second = account(PlatformType::x, QStringLiteral("two"));
    FakePublisher& running = publishers.add(first.id, QStringLiteral("x1"));
    FakePublisher& never = publishers.add(second.id, QStringLiteral("x2"));
    running.holdBeforePost = true;
    running.onPost = [&](int index) {
        if (index == 1)
            service.cancel();
    };
    PublishRequest request;
    request.thread = thread(3);
    request.accounts = {{PlatformType::x, {first, second}}};
    QStringList statuses;
    QObject::connect(&service, &PublishingService::statusChanged, [&](const QString& status) { statuses.append(status); });
    try {
        waitForTask(service.publish(request));
        ADD_FAILURE() << "publishing was not cancelled";
    } catch (const PublishError& error) {
        EXPECT_EQ(error.kind(), PublishError::Kind::cancelled);
    }
    EXPECT_EQ(statuses.constLast(), QStringLiteral("Publishing to X cancelled by user"));
    EXPECT_TRUE(never.jobs.isEmpty());
    EXPECT_FALSE(service.isPublishing());
}
