// The day index a calendar paints from, and the actions it takes on posts, over the real
// store: days follow the calendar's zone, and every change lands on the right day.
#include "core/preference_store.h"
#include "store/post_day_index.h"
#include "store/scheduled_post_actions.h"
#include "store/scheduler_service.h"
#include "support/temp_home.h"

#include <QSignalSpy>

#include <array>
#include <random>

#include <gtest/gtest.h>

namespace {

const QTimeZone kTokyo(QByteArrayLiteral("Asia/Tokyo"));

ScheduledPost postAt(const QString& isoUtc, PostStatus status, const QString& text = QStringLiteral("Hello"))
{
    ScheduledPost post;
    post.content = {Post::create(text)};
    post.scheduledDate = *Timestamp::fromIso8601(isoUtc);
    post.timeZoneIdentifier = QStringLiteral("UTC");
    post.platforms = {QStringLiteral("x"), QStringLiteral("mastodon")};
    post.status = status;
    return post;
}

class PostDayIndexTest : public ::testing::Test {
protected:
    TempHome home;
    PreferenceStore preferences{home.paths()};
    SchedulerService store{preferences};
    ScheduledPostActions actions{store};
};

} // namespace

TEST_F(PostDayIndexTest, GroupsByTheCalendarsDayAndFollowsEachChange)
{
    // 20:00 UTC is already the next morning in Tokyo.
    const QUuid late = store.addOrUpdate(postAt(QStringLiteral("2025-03-10T20:00:00Z"), PostStatus::queued,
                                                QStringLiteral("First line\nsecond line")));
    const QUuid early = store.addOrUpdate(postAt(QStringLiteral("2025-03-10T23:30:00Z"), PostStatus::failed));
    PostDayIndex index(store, kTokyo);
    const QDate eleventh(2025, 3, 11);
    ASSERT_EQ(index.postsOn(eleventh).size(), 2);
    EXPECT_TRUE(index.postsOn(QDate(2025, 3, 10)).isEmpty());
    EXPECT_EQ(index.postsOn(eleventh).at(0).id, late) << "in time order";
    EXPECT_EQ(index.postsOn(eleventh).at(0).title, QStringLiteral("First line"));
    EXPECT_EQ(index.postsOn(eleventh).at(0).networks, (QList<PlatformType>{PlatformType::x, PlatformType::mastodon}));
    EXPECT_EQ(index.postsOn(eleventh, PostStatus::failed).size(), 1);
    EXPECT_EQ(index.failedCount(), 1);

    // Moving one post to another day takes it off the first day and counts it once.
    QSignalSpy changed(&index, &PostDayIndex::changed);
    ASSERT_TRUE(actions.reschedule(early, QDateTime(QDate(2025, 3, 14), QTime(9, 15), kTokyo)));
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(index.postsOn(eleventh).size(), 1);
    ASSERT_EQ(index.postsOn(QDate(2025, 3, 14)).size(), 1);
    EXPECT_EQ(index.postsOn(QDate(2025, 3, 14)).at(0).when.time(), QTime(9, 15));
    EXPECT_EQ(index.failedCount(), 1) << "moving keeps the status";

    // Retry, delete, and a full replace of the list.
    ASSERT_TRUE(actions.retry(early));
    EXPECT_EQ(index.failedCount(), 0);
    ASSERT_TRUE(actions.remove(late));
    EXPECT_TRUE(index.postsOn(eleventh).isEmpty());
    EXPECT_FALSE(index.entry(late).has_value());
    store.clearAll();
    EXPECT_EQ(index.size(), 0);
    EXPECT_TRUE(index.allPosts().isEmpty());
}

TEST_F(PostDayIndexTest, ActionsRefuseWhatWouldRewriteHistory)
{
    const QUuid published = store.addOrUpdate(postAt(QStringLiteral("2025-03-10T08:00:00Z"), PostStatus::published));
    const QUuid queued = store.addOrUpdate(postAt(QStringLiteral("2025-03-12T08:00:00Z"), PostStatus::queued));
    const QDateTime later(QDate(2025, 4, 1), QTime(10, 0), QTimeZone::utc());

    EXPECT_FALSE(actions.reschedule(published, later)) << "a published post's time is history";
    EXPECT_EQ(store.scheduledPost(published)->scheduledDate, *Timestamp::fromIso8601(QStringLiteral("2025-03-10T08:00:00Z")));
    EXPECT_FALSE(actions.retry(queued)) << "only a failed post is retried";
    EXPECT_EQ(store.scheduledPost(queued)->status, PostStatus::queued);
    EXPECT_FALSE(actions.reschedule(QUuid::createUuid(), later));

    // A copy of a published post is a new draft, not a second publication.
    const std::optional<QUuid> copy = actions.duplicate(published);
    ASSERT_TRUE(copy.has_value());
    EXPECT_NE(*copy, published);
    const ScheduledPost duplicate = *store.scheduledPost(*copy);
    EXPECT_EQ(duplicate.status, PostStatus::draft);
    EXPECT_EQ(duplicate.content.at(0).text, QStringLiteral("Hello"));
    EXPECT_EQ(store.scheduledPosts().size(), 3);
}

TEST_F(PostDayIndexTest, FollowingChangesOneByOneEndsWhereARebuildDoes)
{
    // Random adds, moves, status changes and deletes; after each, the index kept up to date
    // one post at a time must equal one built from scratch over the same list.
    PostDayIndex kept(store, kTokyo);
    std::mt19937 random(19);
    QList<QUuid> ids;
    const Timestamp start = *Timestamp::fromIso8601(QStringLiteral("2025-03-01T00:00:00Z"));
    const auto anyInstant = [&] { return start.addSeconds(double(random() % (10 * 86400))); };
    const std::array<PostStatus, 5> statuses{PostStatus::draft, PostStatus::queued, PostStatus::processing,
                                             PostStatus::published, PostStatus::failed};
    for (int step = 0; step < 300; ++step) {
        const unsigned choice = ids.isEmpty() ? 0 : random() % 4;
        if (choice == 0) {
            ScheduledPost post = postAt(QStringLiteral("2025-03-01T00:00:00Z"), statuses.at(random() % 5));
            post.scheduledDate = anyInstant();
            ids.append(store.addOrUpdate(post));
        } else {
            const QUuid id = ids.at(qsizetype(random() % ids.size()));
            if (choice == 1) {
                ScheduledPost post = *store.scheduledPost(id);
                post.scheduledDate = anyInstant();
                store.addOrUpdate(post, id);
            } else if (choice == 2) {
                store.updateStatus(id, statuses.at(random() % 5), QStringLiteral("boom"));
            } else {
                store.deletePost(id);
                ids.removeOne(id);
            }
        }
        PostDayIndex fresh(store, kTokyo);
        ASSERT_EQ(kept.size(), fresh.size()) << "step " << step;
        ASSERT_EQ(kept.failedCount(), fresh.failedCount()) << "step " << step;
        const QList<PostDayEntry> a = kept.allPosts();
        const QList<PostDayEntry> b = fresh.allPosts();
        for (qsizetype i = 0; i < a.size(); ++i) {
            ASSERT_EQ(a.at(i).when, b.at(i).when) << "step " << step;
            ASSERT_EQ(a.at(i).status, b.at(i).status) << "step " << step;
        }
    }
}
