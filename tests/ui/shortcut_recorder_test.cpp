// Recording a shortcut with the keyboard: refusals keep recording, Escape cancels.
#include "core/preference_store.h"
#include "desktop/shortcut_manager.h"
#include "support/temp_home.h"
#include "ui/shortcut_recorder.h"
#include "../desktop/fake_shortcut_registrar.h"

#include <QPushButton>
#include <QTest>

#include <gmock/gmock.h>

namespace {

constexpr auto kCtrlSuper = Qt::ControlModifier | Qt::MetaModifier;

class ShortcutRecorderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_manager.load();
        m_recorder.show();
    }
    void click() { QTest::mouseClick(m_recorder.findChild<QPushButton*>(), Qt::LeftButton); }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    FakeShortcutRegistrar::Record m_record;
    ShortcutManager m_manager{m_preferences, std::make_unique<FakeShortcutRegistrar>(m_record)};
    ShortcutRecorder m_recorder{m_manager, ShortcutAction::schedule};
};

} // namespace

TEST_F(ShortcutRecorderTest, ARefusalKeepsRecordingAndEscapeCancels)
{
    const KeyboardShortcut before = m_manager.shortcut(ShortcutAction::schedule);
    click();
    ASSERT_TRUE(m_recorder.isRecording());
    EXPECT_EQ(m_record.unregistered, 1); // the old keys must not fire while recording

    QTest::keyClick(&m_recorder, Qt::Key_C, kCtrlSuper);
    EXPECT_EQ(m_recorder.errorText(), QStringLiteral("That shortcut is already used for Composer. Pick a different combination."));
    QTest::keyClick(&m_recorder, Qt::Key_Tab, kCtrlSuper);
    EXPECT_EQ(m_recorder.errorText(), QStringLiteral("Choose a visible keyboard key. Function keys and whitespace are not supported."));
    QTest::keyClick(&m_recorder, Qt::Key_Control, Qt::ControlModifier); // a modifier alone is not a shortcut yet
    EXPECT_TRUE(m_recorder.isRecording());

    QTest::keyClick(&m_recorder, Qt::Key_Escape);
    EXPECT_FALSE(m_recorder.isRecording());
    EXPECT_TRUE(m_recorder.errorText().isEmpty());
    EXPECT_EQ(m_manager.shortcut(ShortcutAction::schedule), before);
    EXPECT_EQ(m_record.registered.size(), 2); // registered again as it was
}

TEST_F(ShortcutRecorderTest, AnAcceptedCombinationIsStoredAndEndsRecording)
{
    click();
    // Shift+1 reaches Qt as "!"; it is still the 1 key.
    QTest::keyClick(&m_recorder, Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_FALSE(m_recorder.isRecording());
    EXPECT_EQ(m_manager.shortcut(ShortcutAction::schedule),
              (KeyboardShortcut{18, KeyboardShortcut::command | KeyboardShortcut::shift, QStringLiteral("1")}));
    EXPECT_EQ(m_recorder.findChild<QPushButton*>()->text(), QStringLiteral("Ctrl+Shift+1"));
    EXPECT_EQ(m_record.registered.last().value(ShortcutAction::schedule).keyCode, 18);
}
