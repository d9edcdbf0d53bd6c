#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/scheduled_post.h"
#include "store/media_folder.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

class MediaFolderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir().mkpath(media.path()));
        for (const char* name : {"scheduled.png", "draft video.mov", "orphan.png", "draft-image.jpg"})
            touch(QString::fromUtf8(name));
    }

    void touch(const QString& name)
    {
        QFile file(media.path() + u'/' + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    QStringList remaining() const
    {
        QStringList names = QDir(media.path()).entryList(QDir::Files);
        names.sort();
        return names;
    }

    PostMedia attachment(const QString& name) const
    {
        PostMedia item;
        item.id = QUuid::createUuid();
        item.originalPath = FileUrl::fromLocalFile(media.path() + u'/' + name);
        return item;
    }

    TempHome home;
    PreferenceStore store{home.paths()};
    MediaFolder media{home.paths().mediaDir()};
};

TEST_F(MediaFolderTest, KeepsFilesOfScheduledPostsAndTheDraft)
{
    ScheduledPost post;
    post.id = QUuid::createUuid();
    post.content = {Post::create(QStringLiteral("with media"), {attachment(QStringLiteral("scheduled.png"))})};
    ASSERT_TRUE(store.setData(PreferenceKeys::ScheduledPosts, ScheduledPost::encodeList({post}, JsonLayout::pretty)));

    // The draft's document shape belongs to the composer; any reference in it counts.
    Json draft = Json::object();
    draft["posts"] = Post::threadToJson({Post::create(QStringLiteral("draft"), {attachment(QStringLiteral("draft video.mov"))})});
    draft["extra"] = {{"path", JsonValues::utf8(media.path() + QStringLiteral("/draft-image.jpg"))}};
    ASSERT_TRUE(store.setData(PreferenceKeys::ComposerDrafts, QByteArray::fromStdString(draft.dump())));

    const QStringList removed = media.removeOrphans(store);
    EXPECT_EQ(removed, QStringList{media.path() + QStringLiteral("/orphan.png")});
    EXPECT_EQ(remaining(), (QStringList{QStringLiteral("draft video.mov"), QStringLiteral("draft-image.jpg"), QStringLiteral("scheduled.png")}));
}

TEST_F(MediaFolderTest, NothingIsRemovedWhenADocumentCannotBeRead)
{
    for (const QLatin1String key : {PreferenceKeys::ScheduledPosts, PreferenceKeys::ComposerDrafts}) {
        store.removeData(PreferenceKeys::ScheduledPosts);
        store.removeData(PreferenceKeys::ComposerDrafts);
        ASSERT_TRUE(store.setData(key, QByteArray("[{\"truncated")));
        EXPECT_TRUE(media.removeOrphans(store).isEmpty());
        EXPECT_EQ(remaining().size(), 4);
    }
    // With no documents at all, every file is an orphan.
    store.removeData(PreferenceKeys::ScheduledPosts);
    store.removeData(PreferenceKeys::ComposerDrafts);
    EXPECT_EQ(media.removeOrphans(store).size(), 4);
}

} // namespace
