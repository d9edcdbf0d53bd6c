#include "compose/composer.h"
#include "compose/post_storage.h"
#include "core/preference_keys.h"
#include "core/preference_store.h"
#include "model/scheduled_post.h"
#include "support/manual_debounce_timer.h"
#include "support/temp_home.h"
#include "text/platform_character_counter.h"
#include "text/text_splitter.h"

#include <QCoreApplication>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {
using namespace std::chrono_literals;

PostMedia image(int n)
{
    PostMedia media;
    media.id = QUuid::createUuid();
    media.originalPath = QUrl::fromLocalFile(QStringLiteral("/media/%1.png").arg(n));
    return media;
}

class ComposerTest : public ::testing::Test {
protected:
    std::unique_ptr<Composer> makeComposer()
    {
        auto timer = std::make_unique<ManualDebounceTimer>();
        m_timer = timer.get();
        return std::make_unique<Composer>(m_preferences, m_storage, std::move(timer));
    }
    std::optional<QByteArray> storedBytes() const { return m_preferences.data(PostStorage::draftKey()); }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    PostStorage m_storage{m_preferences};
    ManualDebounceTimer* m_timer = nullptr;
};

TEST_F(ComposerTest, TenEditsWithinHalfASecondStoreOneDraftOfTheLastState)
{
    auto composer = makeComposer();
    for (int i = 1; i <= 10; ++i) {
        composer->setText(0, QStringLiteral("draft %1").arg(i));
        m_timer->advance(40ms);
    }
    EXPECT_FALSE(storedBytes());
    m_timer->advance(Composer::DraftSaveDelay - 41ms);
    EXPECT_FALSE(storedBytes()) << "saved before half a second of quiet";
    m_timer->advance(1ms);
    EXPECT_EQ(m_timer->fired(), 1);
    EXPECT_EQ(m_storage.loadDraft(), composer->posts());
    EXPECT_EQ(composer->posts().first().text, QStringLiteral("draft 10"));

    auto restored = makeComposer();
    EXPECT_EQ(restored->posts(), composer->posts());
}

TEST_F(ComposerTest, UndecodableDraftIsKeptUntilTheNextRealChange)
{
    const QByteArray broken = "[{\"id\": 42}]";
    ASSERT_TRUE(m_preferences.setData(PostStorage::draftKey(), broken));
    {
        auto composer = makeComposer();
        ASSERT_EQ(composer->posts().size(), 1);
        EXPECT_TRUE(composer->posts().first().text.isEmpty());
    }
    EXPECT_EQ(storedBytes(), broken) << "closing without a change must not overwrite it";

    auto composer = makeComposer();
    composer->setText(0, QStringLiteral("new"));
    m_timer->advance(Composer::DraftSaveDelay);
    ASSERT_TRUE(m_storage.loadDraft());
    EXPECT_EQ(m_storage.loadDraft()->first().text, QStringLiteral("new"));
}

TEST_F(ComposerTest, PendingDraftIsWrittenOnCloseAndResetRemovesIt)
{
    {
        auto composer = makeComposer();
        composer->setText(0, QStringLiteral("unsaved"));
    }
    ASSERT_TRUE(m_storage.loadDraft());

    auto composer = makeComposer();
    composer->setText(0, QStringLiteral("about to be scheduled"));
    composer->reset();
    m_timer->advance(Composer::DraftSaveDelay);
    EXPECT_FALSE(storedBytes());
    ASSERT_EQ(composer->posts().size(), 1);
    EXPECT_TRUE(composer->posts().first().text.isEmpty());
}

TEST_F(ComposerTest, NewestMediaReplaceTheOldestAndTheMessageShowsOnce)
{
    auto composer = makeComposer();
    QSignalSpy messages(composer.get(), &Composer::messageShown);
    composer->addMedia(0, {image(1), image(2)});
    EXPECT_EQ(messages.count(), 0);

    const QList<PostMedia> picked = {image(3), image(4), image(5)};
    composer->addMedia(0, picked);
    const QList<PostMedia>& kept = composer->posts().first().mediaItems;
    ASSERT_EQ(kept.size(), 4);
    EXPECT_EQ(kept.at(0).originalPath, image(2).originalPath);
    EXPECT_EQ(kept.mid(1), picked);
    ASSERT_EQ(messages.count(), 1);
    EXPECT_EQ(messages.first().first().toString(), Composer::MediaLimitMessage);
}

TEST_F(ComposerTest, LongPasteBecomesPostsAfterTheEditedOne)
{
    auto composer = makeComposer();
    composer->setText(0, QStringLiteral("head"));
    composer->insertPost();
    composer->setText(1, QStringLiteral("tail"));
    composer->setText(0, QStringLiteral("keep this|dropped"));

    EXPECT_FALSE(composer->paste(0, 0, QStringLiteral("short"))) << "280 or fewer characters insert normally";

    const QString pasted = (QStringLiteral("word ")).repeated(120); // 600 characters
    const QStringList pieces = TextSplitter::split(pasted, Composer::PasteLimit);
    ASSERT_EQ(pieces.size(), 3);
    ASSERT_TRUE(composer->paste(0, 9, pasted));
    EXPECT_EQ(composer->posts().at(0).text, QStringLiteral("keep this") + pieces.at(0));
    EXPECT_EQ(composer->posts().size(), 2) << "the other pieces arrive on the next turn";

    QCoreApplication::processEvents();
    ASSERT_EQ(composer->posts().size(), 4);
    EXPECT_EQ(composer->posts().at(1).text, pieces.at(1));
    EXPECT_EQ(composer->posts().at(2).text, pieces.at(2));
    EXPECT_EQ(composer->posts().at(3).text, QStringLiteral("tail"));

    m_preferences.setValue(PreferenceKeys::AutoSplitEnabled, false);
    EXPECT_FALSE(composer->paste(3, 0, pasted)) << "splitting switched off inserts normally";
}

TEST_F(ComposerTest, OverflowPastMaxPostsKeepsAllTheText)
{
    auto composer = makeComposer();
    QStringList pieces;
    for (int i = 0; i < composer->maxPosts() + 5; ++i)
        pieces.append(QStringLiteral("piece %1 ").arg(i));
    composer->addOverflowPosts(composer->posts().first().id, pieces);

    ASSERT_EQ(composer->posts().size(), composer->maxPosts());
    QString all;
    for (const Post& post : composer->posts())
        all += post.text;
    EXPECT_EQ(all, pieces.join(QString()));
}

TEST_F(ComposerTest, APastePastMaxPostsKeepsItsPostBreaksAsWritten)
{
    auto composer = makeComposer();
    QStringList parts;
    for (int i = 0; i < composer->maxPosts() + 5; ++i)
        parts.append(QStringLiteral("part %1 ").arg(i).repeated(i % 3 == 0 ? 50 : 1));
    const QString pasted = parts.join(TextSplitter::Separator);
    ASSERT_TRUE(composer->paste(0, 0, pasted));
    QCoreApplication::processEvents();

    ASSERT_EQ(composer->posts().size(), composer->maxPosts());
    QStringList texts;
    for (const Post& post : composer->posts())
        texts.append(post.text);
    const QStringList pieces = TextSplitter::split(pasted, Composer::PasteLimit);
    EXPECT_EQ(texts.mid(0, texts.size() - 1), pieces.mid(0, texts.size() - 1));
    // The last post holds the rest of the paste exactly as it was written.
    EXPECT_TRUE(pasted.endsWith(texts.last())) << qPrintable(texts.last());
    EXPECT_TRUE(texts.last().contains(TextSplitter::Separator));
}

TEST_F(ComposerTest, APasteForChosenNetworksFitsEachOfThem)
{
    auto composer = makeComposer();
    composer->setNetworks({PlatformType::x, PlatformType::bluesky}, 500);
    // 200 CJK characters weigh 400 on X, though 200 is under the plain limit.
    const QString pasted = QString(200, QChar(0x8A9E));
    ASSERT_TRUE(composer->paste(0, 0, pasted));
    QCoreApplication::processEvents();
    ASSERT_EQ(composer->posts().size(), 2);
    for (const Post& post : composer->posts()) {
        EXPECT_TRUE(composer->characterCount(composer->posts().indexOf(post), PlatformType::x).fits());
        EXPECT_TRUE(composer->characterCount(composer->posts().indexOf(post), PlatformType::bluesky).fits());
    }
    EXPECT_EQ(composer->posts().at(0).text + composer->posts().at(1).text, pasted);
}

TEST_F(ComposerTest, EditingAScheduledThreadMarksItsPostsAndLogs)
{
    QStringList lines;
    static QStringList* sink = nullptr;
    sink = &lines;
    const auto previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        sink->append(message);
    });

    ScheduledPost scheduled;
    scheduled.id = QUuid::createUuid();
    scheduled.content = {Post::create(QStringLiteral("one")), Post::create(QStringLiteral("two"))};
    auto composer = makeComposer();
    composer->editScheduledPost(scheduled);
    EXPECT_EQ(composer->editingScheduledPostId(), scheduled.id);
    ASSERT_TRUE(composer->insertPost());
    EXPECT_EQ(composer->posts().last().scheduledPostId, scheduled.id);
    composer->clearEditingContext();
    EXPECT_FALSE(composer->editingScheduledPostId());

    qInstallMessageHandler(previous);
    const QString id = scheduled.id.toString(QUuid::WithoutBraces).toUpper();
    EXPECT_TRUE(lines.contains(QStringLiteral("🎯 Composer received editing ScheduledPost id=") + id)) << lines.join(u'\n').toStdString();
    EXPECT_TRUE(lines.contains(QStringLiteral("🎯 Composer clearing editing scheduled context")));
}
} // namespace

namespace {
TEST_F(ComposerTest, CountsEachPostByTheRulesOfEachNetwork)
{
    auto composer = makeComposer();
    composer->setText(0, QString(290, u'a'));
    EXPECT_FALSE(composer->characterCount(0, PlatformType::x).fits());
    EXPECT_TRUE(composer->characterCount(0, PlatformType::bluesky).fits());
    EXPECT_EQ(composer->characterCount(0, PlatformType::mastodon, 100).limit, 100);
    EXPECT_EQ(PlatformCharacterCounter::firstTooLong(composer->posts(), PlatformType::x), 0);
    EXPECT_EQ(PlatformCharacterCounter::firstTooLong(composer->posts(), PlatformType::mastodon), std::nullopt);
}
} // namespace
