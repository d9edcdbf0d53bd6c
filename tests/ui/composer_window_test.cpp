// The composer window driven as a person would, offscreen: typing, Post, Cancel and the
// scheduling sheet, over the real stores and publishing service with recording publishers.
#include "compose/composer.h"
#include "compose/debounce_timer.h"
#include "compose/post_storage.h"
#include "ui/composer_window.h"
#include "ui/post_editor.h"
#include "ui/publish_panel.h"
#include "ui/schedule_sheet.h"
#include "ui_stack.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
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
        window = std::make_unique<ComposerWindow>(*composer, stack.services());
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
    toSky.failAt = 0;
    QTest::keyClicks(text(0), QStringLiteral("Again"));
    publishAndWait();
    EXPECT_TRUE(window->publishPanel()->resultsText().contains(QStringLiteral("boom")));
    EXPECT_EQ(composer->posts().at(0).text, QStringLiteral("Again"));
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
