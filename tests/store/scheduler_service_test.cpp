#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "store/scheduler_service.h"
#include "store/transfer_error.h"
#include "support/sample_posts.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QThreadPool>

#include <limits>

#include <gtest/gtest.h>

namespace {

ScheduledPost draftPost(const QString& text)
{
    ScheduledPost post;
    post.content = {Post::create(text)};
    post.scheduledDate = Timestamp::fromReferenceSeconds(784111200);
    post.timeZoneIdentifier = QStringLiteral("UTC");
    post.platforms = {QStringLiteral("x")};
    return post;
}

class SchedulerServiceTest : public ::testing::Test {
protected:
    QList<ScheduledPost> storedPosts()
    {
        service.waitForPendingSaves();
        SchedulerService reader(store);
        reader.loadPosts();
        return reader.scheduledPosts();
    }

    TempHome home;
    PreferenceStore store{home.paths()};
    SchedulerService service{store};
};

TEST_F(SchedulerServiceTest, AddUpdateDeleteAndStatusAreSavedAndAnnounced)
{
    service.loadPosts();
    EXPECT_TRUE(service.scheduledPosts().isEmpty());
    QSignalSpy updates(&service, &SchedulerService::scheduledPostsDidUpdate);

    const QUuid first = service.addOrUpdate(draftPost(QStringLiteral("one")));
    const QUuid second = service.addOrUpdate(draftPost(QStringLiteral("two")));
    EXPECT_FALSE(first.isNull());
    EXPECT_NE(first, second);

    // Editing replaces the entry in place and keeps its id.
    const QUuid edited = service.addOrUpdate(draftPost(QStringLiteral("one, edited")), first);
    EXPECT_EQ(edited, first);
    ASSERT_EQ(service.scheduledPosts().size(), 2);
    EXPECT_EQ(service.scheduledPosts()[0].content[0].text, u"one, edited");

    // Editing an entry that is gone appends a new one.
    const QUuid gone = QUuid::createUuid();
    const QUuid recreated = service.addOrUpdate(draftPost(QStringLiteral("three")), gone);
    EXPECT_NE(recreated, gone);
    EXPECT_EQ(service.scheduledPosts().size(), 3);

    EXPECT_TRUE(service.updateStatus(second, PostStatus::failed, QStringLiteral("Rate limited")));
    EXPECT_TRUE(service.deletePost(recreated));
    EXPECT_FALSE(service.deletePost(recreated));
    EXPECT_FALSE(service.updateStatus(recreated, PostStatus::published));
    EXPECT_EQ(updates.count(), 6);

    const QList<ScheduledPost> stored = storedPosts();
    EXPECT_EQ(stored, service.scheduledPosts());
    EXPECT_EQ(stored[1].status, PostStatus::failed);
    EXPECT_EQ(stored[1].error, u"Rate limited");

    service.clearAll();
    EXPECT_EQ(updates.count(), 7);
    EXPECT_TRUE(storedPosts().isEmpty());
}

TEST_F(SchedulerServiceTest, UndecodableStoreLoadsEmptyAndStaysOnDisk)
{
    for (const QByteArray& bad : {QByteArray("[{\"id\": 1"), QByteArray(R"([{"id":"6F1D2C3B-4A59-4E87-9A10-2B3C4D5E6F70"}])"),
                                  QByteArray(R"({"scheduledPosts": []})")}) {
        ASSERT_TRUE(store.setData(PreferenceKeys::ScheduledPosts, bad));
        service.loadPosts();
        EXPECT_TRUE(service.scheduledPosts().isEmpty());
        service.waitForPendingSaves();
        EXPECT_EQ(store.data(PreferenceKeys::ScheduledPosts), bad);
    }
    // The next deliberate change writes a good document, and the unreadable one is kept
    // beside it, user-only, bytes unchanged.
    const QByteArray last = *store.data(PreferenceKeys::ScheduledPosts);
    service.addOrUpdate(draftPost(QStringLiteral("fresh")));
    EXPECT_EQ(storedPosts().size(), 1);
    const QString path = store.dataPath(PreferenceKeys::ScheduledPosts);
    const QFileInfoList kept = QFileInfo(path).dir().entryInfoList({QFileInfo(path).fileName() + QStringLiteral(".unreadable-*")});
    ASSERT_EQ(kept.size(), 1);
    QFile copy(kept[0].filePath());
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), last);
    EXPECT_EQ(kept[0].permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther), 0);
    // Later saves of the now readable document keep nothing more.
    service.addOrUpdate(draftPost(QStringLiteral("again")));
    service.waitForPendingSaves();
    EXPECT_EQ(QFileInfo(path).dir().entryList({QFileInfo(path).fileName() + QStringLiteral(".unreadable-*")}).size(), 1);
}

TEST_F(SchedulerServiceTest, SyncSaveIsPrettyBackgroundSaveIsCompactNewestWins)
{
    const QList<ScheduledPost> posts = samplePosts(3);
    ASSERT_TRUE(service.savePosts(posts));
    EXPECT_TRUE(store.data(PreferenceKeys::ScheduledPosts)->contains("\n  {"));
    EXPECT_TRUE(service.scheduledPosts().isEmpty()) << "savePosts leaves the in-memory list alone";

    service.loadPosts();
    for (int i = 0; i < 40; ++i)
        service.addOrUpdate(draftPost(QString::number(i)));
    service.waitForPendingSaves();
    const QByteArray compact = *store.data(PreferenceKeys::ScheduledPosts);
    EXPECT_FALSE(compact.contains('\n'));
    EXPECT_EQ(storedPosts(), service.scheduledPosts());

    // A synchronous save after background saves were queued is the one that stays.
    for (int i = 0; i < 20; ++i)
        service.addOrUpdate(draftPost(QString::number(i)));
    ASSERT_TRUE(service.savePosts(posts));
    EXPECT_EQ(storedPosts(), posts);
}

// Saves stream the document to disk in blocks; a list of several blocks must come out
// byte for byte as encoded in memory, and an entry that cannot be encoded, met after
// blocks were already written, must leave the stored document as it was.
TEST_F(SchedulerServiceTest, StreamedSaveMatchesTheEncodingAndAFailedOneChangesNothing)
{
    const QList<ScheduledPost> posts = samplePosts(300);
    ASSERT_TRUE(service.savePosts(posts));
    const QByteArray saved = *store.data(PreferenceKeys::ScheduledPosts);
    ASSERT_GT(saved.size(), 1024 * 1024);
    EXPECT_EQ(saved, ScheduledPost::encodeList(posts, JsonLayout::pretty));

    QList<ScheduledPost> broken = posts;
    broken.last().content.first().mediaItems.last().videoDuration = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(service.savePosts(broken));
    service.loadPosts();
    service.addOrUpdate(broken.last(), broken.last().id); // the background save fails the same way
    service.waitForPendingSaves();
    EXPECT_EQ(store.data(PreferenceKeys::ScheduledPosts), saved);
    // Neither an abandoned temporary file nor the replaced document stays behind.
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_EQ(QDir(home.paths().configDir()).entryList({QStringLiteral("scheduledPosts*")}, QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("scheduledPosts.json")});
}

// Background saves encode only the entries that changed and reuse the text of the
// rest. A slot left over from an earlier version of a post would silently store old
// data, so after every kind of change the document must equal a full encode.
TEST_F(SchedulerServiceTest, BackgroundSaveAfterEveryKindOfChangeEqualsAFullEncode)
{
    const auto expectStoredMatches = [&](const char* step) {
        service.waitForPendingSaves();
        EXPECT_EQ(*store.data(PreferenceKeys::ScheduledPosts),
                  ScheduledPost::encodeList(service.scheduledPosts(), JsonLayout::compact))
            << step;
    };
    ASSERT_TRUE(service.savePosts(samplePosts(5)));
    service.loadPosts();
    const QList<ScheduledPost> loaded = service.scheduledPosts();

    service.addOrUpdate(draftPost(QStringLiteral("appended")));
    expectStoredMatches("append after load");
    ScheduledPost edited = loaded[2];
    edited.content[0].text = QStringLiteral("edited in place");
    service.addOrUpdate(edited, edited.id);
    expectStoredMatches("edit in place");
    service.updateStatus(loaded[2].id, PostStatus::failed, QStringLiteral("Rate limited"));
    expectStoredMatches("status with error");
    service.updateStatus(loaded[2].id, PostStatus::queued);
    expectStoredMatches("status without error");
    service.deletePost(loaded[0].id);
    expectStoredMatches("delete the first");
    service.addOrUpdate(draftPost(QStringLiteral("edit of a deleted one")), loaded[0].id);
    expectStoredMatches("edit of a missing id appends");

    // Changes queued faster than the saver runs: only the newest snapshot is written.
    for (int i = 0; i < 30; ++i) {
        ScheduledPost again = loaded[3];
        again.content[0].text = QString::number(i);
        service.addOrUpdate(again, again.id);
        service.updateStatus(loaded[1].id, i % 2 ? PostStatus::published : PostStatus::queued);
    }
    expectStoredMatches("burst of edits");

    // A post that cannot be encoded fails its save; once fixed, the next save is whole.
    ScheduledPost broken = loaded[4];
    broken.content[0].mediaItems[1].videoDuration = std::numeric_limits<double>::quiet_NaN();
    const QByteArray beforeBroken = *store.data(PreferenceKeys::ScheduledPosts);
    service.addOrUpdate(broken, broken.id);
    service.waitForPendingSaves();
    EXPECT_EQ(*store.data(PreferenceKeys::ScheduledPosts), beforeBroken);
    EXPECT_FALSE(service.lastSaveSucceeded());
    service.addOrUpdate(loaded[4], loaded[4].id);
    expectStoredMatches("fixed after a failed save");
    EXPECT_TRUE(service.lastSaveSucceeded());

    service.clearAll();
    expectStoredMatches("clear");
    service.addOrUpdate(draftPost(QStringLiteral("after clearing")));
    expectStoredMatches("append after clear");

    service.importDocument(ScheduledPost::encodeList(samplePosts(3, 1), JsonLayout::pretty, DateEncoding::iso8601));
    service.updateStatus(service.scheduledPosts()[1].id, PostStatus::published);
    expectStoredMatches("change after import");
    service.loadPosts();
    service.deletePost(service.scheduledPosts()[0].id);
    expectStoredMatches("change after reload");
}

TEST_F(SchedulerServiceTest, ExportAndImport)
{
    try {
        service.exportDocument();
        FAIL() << "an empty list was exported";
    } catch (const SchedulerServiceError& error) {
        EXPECT_EQ(error.message(), u"No scheduled posts to export.");
    }
    const QString file = home.path() + QStringLiteral("/quillo-scheduled-posts.json");
    EXPECT_THROW(service.exportToFile(file), SchedulerServiceError);
    EXPECT_FALSE(QFile::exists(file));

    QList<ScheduledPost> exported = samplePosts(4);
    exported[2].status = PostStatus::failed;
    exported[2].error = QStringLiteral("Boom");
    ASSERT_TRUE(service.savePosts(exported));
    service.loadPosts();
    // An existing file readable by others is replaced by a user-only one: backups carry
    // what the user scheduled.
    {
        QFile earlier(file);
        ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
        earlier.setPermissions(earlier.permissions() | QFile::ReadGroup | QFile::ReadOther);
    }
    service.exportToFile(file);
    EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther), 0);
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_TRUE(written.readAll().contains("\"scheduledDate\": \"2025-11-05T01:46:40Z\""));

    // Import replaces, never merges.
    service.clearAll();
    service.addOrUpdate(draftPost(QStringLiteral("not in the file")));
    QSignalSpy updates(&service, &SchedulerService::scheduledPostsDidUpdate);
    service.importFile(file);
    EXPECT_EQ(updates.count(), 1);
    EXPECT_EQ(service.scheduledPosts(), exported);
    EXPECT_EQ(storedPosts(), exported);
    // The stored document keeps numeric dates.
    EXPECT_TRUE(store.data(PreferenceKeys::ScheduledPosts)->contains("\"scheduledDate\": 784000000"));

    // A broken file changes nothing.
    for (const QByteArray& bad : {QByteArray("[{"), QByteArray(R"([{"id":"x"}])"), QByteArray("{}")}) {
        try {
            service.importDocument(bad);
            ADD_FAILURE() << bad.constData();
        } catch (const SchedulerServiceError& error) {
            EXPECT_EQ(error.title(), u"Import Failed");
        }
    }
    EXPECT_THROW(service.importFile(home.path() + QStringLiteral("/missing.json")), SchedulerServiceError);
    EXPECT_EQ(updates.count(), 1);
    EXPECT_EQ(storedPosts(), exported);
}

} // namespace
