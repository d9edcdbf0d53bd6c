// The composer window driven as a person would, offscreen: typing, Post, Cancel and the
// scheduling sheet, over the real stores and publishing service with recording publishers.
#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "ui/composer_window.h"
#include "ui/post_editor.h"
#include "ui/destination_picker.h"
#include "ui/publish_panel.h"
#include "ui/quote_picker.h"
#include "ui/schedule_sheet.h"
#include "ui_stack.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class ComposerWindowTest : public ::testing::Test {
protected:
    ComposerWindowTest()
        : storage(stack.preferences)
    {
        x = stack.addAccount(PlatformType::x, QStringLiteral("ada"));
        sky = stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.example.com"));
        composer = std::make_unique<Composer>(stack.preferences, storage, std::make_unique<QtDebounceTimer>());
        window = std::make_unique<ComposerWindow>(*composer, stack.services(), stack.attacher);
        window->show();
    }

    QPlainTextEdit* text(int post) const { return window->editors().at(post)->textEdit(); }
    void publishAndWait()
    {
        QSignalSpy finished(window.get(), &ComposerWindow::publishFinished);
        QTest::mouseClick(window->postButton(), Qt::LeftButton);
        ASSERT_TRUE(!finished.isEmpty() || finished.wait(5000));
    }

    UiStack stack;
    PostStorage storage;
    std::unique_ptr<Composer> composer;
    std::unique_ptr<ComposerWindow> window;
    SocialAccount x;
    SocialAccount sky;
};

} // namespace

TEST_F(ComposerWindowTest, CountsTurnRedOnlyForTheNetworkThatIsExceeded)
{
    // Typed through an input method: CJK weighs 2 on X only.
    text(0)->insertPlainText(QString(150, QChar(0x4E00)));
    const PostEditor* editor = window->editors().at(0);
    ASSERT_NE(editor->countLabel(PlatformType::x), nullptr);
    EXPECT_TRUE(editor->countLabel(PlatformType::x)->property("tooLong").toBool());
    EXPECT_FALSE(editor->countLabel(PlatformType::bluesky)->property("tooLong").toBool());
    EXPECT_EQ(editor->countLabel(PlatformType::mastodon), nullptr) << "Mastodon is not chosen";
    EXPECT_FALSE(window->postButton()->isEnabled());

    // Without X the same text fits everywhere chosen.
    QTest::mouseClick(window->platformToggle(PlatformType::x), Qt::LeftButton);
    EXPECT_EQ(window->editors().at(0)->countLabel(PlatformType::x), nullptr);
    EXPECT_TRUE(window->postButton()->isEnabled());
    EXPECT_EQ(composer->posts().at(0).text, QString(150, QChar(0x4E00)));
}

TEST_F(ComposerWindowTest, PostPublishesTheThreadToEveryAccountAndShowsTheLinks)
{
    FakePublisher& toX = stack.publishers.add(x.id, QStringLiteral("x"));
    FakePublisher& toSky = stack.publishers.add(sky.id, QStringLiteral("sky"));
    QTest::keyClicks(text(0), QStringLiteral("First post"));
    QTest::keyClick(text(0), Qt::Key_Return, Qt::ControlModifier); // the next post, right here
    ASSERT_EQ(window->editors().size(), 2);
    QTest::keyClicks(text(1), QStringLiteral("Second post"));

    publishAndWait();
    ASSERT_EQ(toX.jobs.size(), 1);
    EXPECT_EQ(toX.jobs[0].thread.size(), 2);
    EXPECT_EQ(toSky.jobs[0].thread[1].text, QStringLiteral("Second post"));
    const QString results = window->publishPanel()->resultsText();
    EXPECT_TRUE(results.contains(QStringLiteral("https://example.net/x-0"))) << results.toStdString();
    EXPECT_TRUE(results.contains(QStringLiteral("https://example.net/sky-0"))) << results.toStdString();
    // Delivered: the composer starts over and the draft is gone.
    EXPECT_EQ(composer->posts().size(), 1);
    EXPECT_TRUE(composer->posts().at(0).text.isEmpty());

    // A failure keeps the thread for another try and says which account failed.
    toSky.failAt = 1;
    QTest::keyClicks(text(0), QStringLiteral("Again"));
    QTest::keyClick(text(0), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClicks(text(1), QStringLiteral("and again"));
    publishAndWait();
    EXPECT_TRUE(window->publishPanel()->resultsText().contains(QStringLiteral("boom")));
    EXPECT_EQ(composer->posts().at(0).text, QStringLiteral("Again"));

    // Retrying that account sends only what it lacks, and nothing again to X.
    toSky.failAt = -1;
    QSignalSpy finished(window.get(), &ComposerWindow::publishFinished);
    Q_EMIT window->publishPanel()->resultsLabel()->linkActivated(QStringLiteral("retry:") + sky.id.toString(QUuid::WithoutBraces));
    ASSERT_TRUE(!finished.isEmpty() || finished.wait(5000));
    EXPECT_EQ(toX.jobs.size(), 2);
    ASSERT_EQ(toSky.jobs.size(), 3);
    EXPECT_EQ(toSky.jobs.last().from, 1) << "the first post already reached Bluesky";
    EXPECT_EQ(toSky.jobs.last().thread.at(1).text, QStringLiteral("and again"));
    const QString retried = window->publishPanel()->resultsText();
    EXPECT_TRUE(retried.contains(QStringLiteral("https://example.net/x-0")) && retried.contains(QStringLiteral("https://example.net/sky-0")))
        << retried.toStdString();
    EXPECT_TRUE(composer->posts().at(0).text.isEmpty()) << "everything is out: the composer starts over";
}

TEST_F(ComposerWindowTest, AccountModesAndTheCommunityQuestionDecideWhereItGoes)
{
    const SocialAccount second = stack.addAccount(PlatformType::x, QStringLiteral("grace"));
    FakePublisher& toX = stack.publishers.add(x.id, QStringLiteral("x"));
    FakePublisher& toSecond = stack.publishers.add(second.id, QStringLiteral("x2"));
    QTest::mouseClick(window->platformToggle(PlatformType::bluesky), Qt::LeftButton);
    window->destinationPicker()->setMode(PlatformType::x, ScheduledPostingMode::allEnabled);
    composer->setCommunity(CommunityContext{QStringLiteral("123"), QStringLiteral("Qt Devs"), CommunityPlatform::x});
    QTest::keyClicks(text(0), QStringLiteral("Hello community"));

    // Cancel in the question sends nothing and keeps the thread.
    QStringList asked;
    window->setCommunityQuestion([&asked](QWidget*, const QString& name) -> std::optional<bool> {
        asked << name;
        return std::nullopt;
    });
    QTest::mouseClick(window->postButton(), Qt::LeftButton);
    EXPECT_EQ(asked, QStringList{QStringLiteral("Qt Devs")});
    EXPECT_TRUE(toX.jobs.isEmpty());

    window->setCommunityQuestion([](QWidget*, const QString&) -> std::optional<bool> { return false; });
    publishAndWait();
    ASSERT_EQ(toX.jobs.size(), 1);
    ASSERT_EQ(toSecond.jobs.size(), 1) << "all enabled X accounts";
    EXPECT_FALSE(toX.jobs[0].shareWithFollowers);
    EXPECT_EQ(toX.jobs[0].thread[0].communityContext->id, QStringLiteral("123"));

    // Picking one account by hand reaches only that one.
    window->destinationPicker()->setMode(PlatformType::x, ScheduledPostingMode::specific, {second.id});
    window->setCommunityQuestion([](QWidget*, const QString&) -> std::optional<bool> { return true; });
    composer->setCommunity(CommunityContext{QStringLiteral("123"), QStringLiteral("Qt Devs"), CommunityPlatform::x});
    QTest::keyClicks(text(0), QStringLiteral("Only Grace"));
    publishAndWait();
    EXPECT_EQ(toX.jobs.size(), 1);
    ASSERT_EQ(toSecond.jobs.size(), 2);
    EXPECT_TRUE(toSecond.jobs[1].shareWithFollowers);
}

TEST_F(ComposerWindowTest, QuotePickerListsRecentPostsOnceAndTakesPastedLinks)
{
    FakePublisher& toSky = stack.publishers.add(sky.id, QStringLiteral("sky"));
    toSky.recent = {RecentPost{PlatformType::bluesky, QStringLiteral("at://did:plc:ada/app.bsky.feed.post/3k"),
                               QStringLiteral("My last post"), std::nullopt, 0, 0, 0, QUrl()}};
    QTest::mouseClick(window->quoteButton(), Qt::LeftButton);
    QuotePicker* picker = window->quotePicker();
    ASSERT_NE(picker, nullptr);
    QSignalSpy loaded(picker, &QuotePicker::loaded);
    ASSERT_TRUE(!picker->isLoading() || loaded.wait(5000));
    ASSERT_EQ(picker->list()->count(), 1);
    picker->list()->setCurrentRow(0);
    picker->accept();
    ASSERT_TRUE(composer->quote().has_value());
    EXPECT_EQ(composer->quote()->idOn(PlatformType::bluesky), QStringLiteral("at://did:plc:ada/app.bsky.feed.post/3k"));

    // Again: listed from the cache; a pasted link wins over the list.
    QTest::mouseClick(window->quoteButton(), Qt::LeftButton);
    picker = window->quotePicker();
    QSignalSpy again(picker, &QuotePicker::loaded);
    ASSERT_TRUE(!picker->isLoading() || again.wait(5000));
    EXPECT_EQ(toSky.recentFetches, 1);
    QTest::keyClicks(picker->linkField(), QStringLiteral("https://x.com/ada/status/42"));
    picker->accept();
    EXPECT_EQ(composer->quote()->idOn(PlatformType::x), QStringLiteral("42"));
}

TEST_F(ComposerWindowTest, CancelStopsPublishing)
{
    FakePublisher& toX = stack.publishers.add(x.id, QStringLiteral("x"));
    stack.publishers.add(sky.id, QStringLiteral("sky")).holdBeforePost = true;
    toX.holdBeforePost = true;
    QTest::keyClicks(text(0), QStringLiteral("Never mind"));
    QSignalSpy finished(window.get(), &ComposerWindow::publishFinished);
    QTest::mouseClick(window->postButton(), Qt::LeftButton);
    ASSERT_TRUE(window->cancelButton()->isVisible());
    QTest::mouseClick(window->cancelButton(), Qt::LeftButton);
    ASSERT_TRUE(finished.wait(5000));
    EXPECT_EQ(composer->posts().at(0).text, QStringLiteral("Never mind")) << "nothing went out, nothing is lost";
    EXPECT_TRUE(window->postButton()->isEnabled());
}

TEST_F(ComposerWindowTest, ScheduleSheetTakesPlainWordsAndStoresTheThread)
{
    QTest::keyClicks(text(0), QStringLiteral("Later"));
    window->openScheduleSheet();
    ScheduleSheet* sheet = window->scheduleSheet();
    ASSERT_NE(sheet, nullptr);
    QTest::keyClicks(sheet->wordsField(), QStringLiteral("in 2 hours"));
    EXPECT_EQ(sheet->scheduledDate().toSecsSinceEpoch(), stack.clock.now().toDateTime().addSecs(7200).toSecsSinceEpoch());
    QTest::keyClicks(sheet->wordsField(), QStringLiteral(" and a bit"));
    EXPECT_TRUE(sheet->warning().contains(QStringLiteral("does not understand")));
    sheet->wordsField()->clear();
    QTest::keyClicks(sheet->wordsField(), QStringLiteral("tomorrow 9:00"));
    sheet->accept();

    ASSERT_EQ(stack.scheduler.scheduledPosts().size(), 1);
    const ScheduledPost& stored = stack.scheduler.scheduledPosts().first();
    EXPECT_EQ(stored.content.at(0).text, QStringLiteral("Later"));
    EXPECT_EQ(stored.status, PostStatus::queued);
    EXPECT_EQ(stored.platforms, (QStringList{QStringLiteral("x"), QStringLiteral("bluesky")}));
    const QDateTime when = stored.scheduledDate.toDateTime().toLocalTime();
    EXPECT_EQ(when.time(), QTime(9, 0));
    EXPECT_EQ(when.date(), stack.clock.now().toDateTime().toLocalTime().date().addDays(1));
    EXPECT_TRUE(composer->posts().at(0).text.isEmpty());
}
