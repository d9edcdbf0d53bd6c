// Validation, storage and registration of the global shortcuts, with a fake registrar.
#include "core/preference_store.h"
#include "desktop/portable_key_map.h"
#include "desktop/shortcut_manager.h"
#include "desktop/shortcut_manager_error.h"
#include "fake_shortcut_registrar.h"
#include "support/log_capture.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

constexpr quint32 kCommand = KeyboardShortcut::command;
constexpr quint32 kControl = KeyboardShortcut::control;
constexpr quint32 kOption = KeyboardShortcut::option;
constexpr quint32 kShift = KeyboardShortcut::shift;

class ShortcutManagerTest : public ::testing::Test {
protected:
    std::unique_ptr<ShortcutManager> makeManager()
    {
        auto registrar = std::make_unique<FakeShortcutRegistrar>(m_record);
        m_registrar = registrar.get();
        auto manager = std::make_unique<ShortcutManager>(m_preferences, std::move(registrar));
        manager->load();
        return manager;
    }
    std::optional<QByteArray> stored(ShortcutAction action) const
    {
        return m_preferences.data(ShortcutManager::storageKey(action));
    }

    TempHome m_home;
    PreferenceStore m_preferences{m_home.paths()};
    FakeShortcutRegistrar::Record m_record;
    FakeShortcutRegistrar* m_registrar = nullptr;
};

} // namespace

TEST_F(ShortcutManagerTest, DefaultsAreValidDistinctAndRegisteredOnLoad)
{
    const auto manager = makeManager();
    for (const ShortcutAction action : kShortcutActions) {
        const KeyboardShortcut shortcut = manager->shortcut(action);
        EXPECT_EQ(shortcut, KeyboardShortcut::defaultFor(action));
        EXPECT_NO_THROW(manager->validate(action, shortcut)) << shortcutActionRawValue(action).toStdString();
        for (const ShortcutAction other : kShortcutActions)
            EXPECT_TRUE(other == action || !manager->shortcut(other).hasSameKeys(shortcut));
    }
    EXPECT_EQ(PortableKeyMap::displayText(manager->shortcut(ShortcutAction::settings)), QStringLiteral("Ctrl+Super+,"));
    ASSERT_EQ(m_record.registered.size(), 1);
    EXPECT_EQ(m_record.registered[0], manager->shortcuts());
    // Reading never writes: a missing entry stays missing.
    EXPECT_FALSE(stored(ShortcutAction::composer));
}

TEST_F(ShortcutManagerTest, RefusesWithTheRuleThatFailsFirst)
{
    using Kind = ShortcutManagerError::Kind;
    struct Case {
        const char* name;
        ShortcutAction action;
        KeyboardShortcut shortcut;
        Kind kind;
        QString message;
    };
    const QString unsupported = QStringLiteral("Choose a visible keyboard key. Function keys and whitespace are not supported.");
    const Case cases[] = {
        {"duplicate", ShortcutAction::schedule, {8, kCommand | kControl, QStringLiteral("c")}, Kind::duplicate,
         QStringLiteral("That shortcut is already used for Composer. Pick a different combination.")},
        {"function key", ShortcutAction::composer, {122, kCommand | kControl, {}}, Kind::unsupportedKey, unsupported},
        {"space", ShortcutAction::composer, {49, kCommand | kShift, QStringLiteral(" ")}, Kind::unsupportedKey, unsupported},
        {"tab", ShortcutAction::composer, {48, kCommand | kOption, QStringLiteral("\t")}, Kind::unsupportedKey, unsupported},
        {"two characters", ShortcutAction::composer, {8, kCommand | kShift, QStringLiteral("cc")}, Kind::unsupportedKey, unsupported},
        {"unknown key code", ShortcutAction::composer, {200, kCommand | kShift, QStringLiteral("q")}, Kind::unsupportedKey, unsupported},
        // The character rule comes before the duplicate rule.
        {"no character on composer's keys", ShortcutAction::schedule, {8, kCommand | kControl, {}}, Kind::unsupportedKey, unsupported},
        {"no Command", ShortcutAction::composer, {8, kControl | kShift, QStringLiteral("c")}, Kind::missingCommandKey,
         QStringLiteral("Shortcuts must include the Command key.")},
        {"Command alone", ShortcutAction::composer, {8, kCommand, QStringLiteral("c")}, Kind::insufficientModifiers,
         QStringLiteral("Add Control, Option, or Shift to avoid conflict with standard shortcuts.")},
        {"desktop's terminal key", ShortcutAction::composer, {17, kCommand | kOption, QStringLiteral("t")},
         Kind::reservedCombination, QStringLiteral("macOS already reserves that shortcut. Try another combination.")},
    };
    const auto manager = makeManager();
    const ShortcutMap before = manager->shortcuts();
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        try {
            manager->update(test.action, test.shortcut);
            ADD_FAILURE() << "accepted";
        } catch (const ShortcutManagerError& error) {
            EXPECT_EQ(error.kind(), test.kind);
            EXPECT_EQ(error.message(), test.message);
        }
    }
    // Nothing of a refusal sticks: not in memory, not on disk, not registered again.
    EXPECT_EQ(manager->shortcuts(), before);
    EXPECT_EQ(m_record.registered.size(), 1);
    for (const ShortcutAction action : kShortcutActions)
        EXPECT_FALSE(stored(action));
}

TEST_F(ShortcutManagerTest, UpdateStoresRegistersAndSurvivesARestart)
{
    const KeyboardShortcut composerKeys = KeyboardShortcut::defaultFor(ShortcutAction::composer);
    const KeyboardShortcut next{45, kCommand | kOption | kShift, QStringLiteral("n")};
    {
        LogCapture log;
        const auto manager = makeManager();
        EXPECT_NO_THROW(manager->update(ShortcutAction::composer, composerKeys)); // its own combination again
        manager->update(ShortcutAction::composer, next);
        EXPECT_EQ(m_record.registered.last().value(ShortcutAction::composer), next);
        EXPECT_EQ(log.linesHoldingAnyOf({QStringLiteral("keyboard_shortcut_changed {\"action\":\"composer\"}")}).size(), 2);
        // The freed combination may go to another action now.
        EXPECT_NO_THROW(manager->update(ShortcutAction::schedule, composerKeys));
    }
    EXPECT_EQ(stored(ShortcutAction::composer),
              QByteArray(R"({"keyCode":45,"modifiers":1703936,"keyEquivalent":"n"})"));
    const auto restarted = makeManager();
    EXPECT_EQ(restarted->shortcut(ShortcutAction::composer), next);
    EXPECT_EQ(restarted->shortcut(ShortcutAction::schedule), composerKeys);
}

TEST_F(ShortcutManagerTest, UndecodableEntryMeansTheDefaultAndIsLeftAlone)
{
    const QByteArray broken = R"({"keyCode":"eight","modifiers":1310720})";
    const QByteArray otherFlags = R"({"keyCode":45,"modifiers":1769472,"keyEquivalent":"n"})"; // caps lock bit too
    ASSERT_TRUE(m_preferences.setData(ShortcutManager::storageKey(ShortcutAction::composer), broken));
    ASSERT_TRUE(m_preferences.setData(ShortcutManager::storageKey(ShortcutAction::schedule), otherFlags));
    const auto manager = makeManager();
    EXPECT_EQ(manager->shortcut(ShortcutAction::composer), KeyboardShortcut::defaultFor(ShortcutAction::composer));
    EXPECT_EQ(manager->shortcut(ShortcutAction::schedule), (KeyboardShortcut{45, kCommand | kOption | kShift, QStringLiteral("n")}));
    EXPECT_EQ(stored(ShortcutAction::composer), broken);

    // The first save over it keeps the unreadable text beside the new entry.
    manager->reset();
    EXPECT_EQ(KeyboardShortcut::decode(*stored(ShortcutAction::composer)), KeyboardShortcut::defaultFor(ShortcutAction::composer));
    EXPECT_EQ(KeyboardShortcut::decode(*stored(ShortcutAction::schedule)), KeyboardShortcut::defaultFor(ShortcutAction::schedule));
    const QString configDir = QFileInfo(m_preferences.dataPath(ShortcutManager::storageKey(ShortcutAction::composer))).path();
    EXPECT_EQ(QDir(configDir).entryList({QStringLiteral("KeyboardShortcut.v2.composer.json.unreadable-*")}).size(), 1);
}

TEST_F(ShortcutManagerTest, PressRunsTheHandlerAndRecordingSuspendsTheKeys)
{
    const auto manager = makeManager();
    int composerRuns = 0;
    manager->setHandler(ShortcutAction::composer, [&] { ++composerRuns; });
    m_registrar->press(ShortcutAction::composer);
    m_registrar->press(ShortcutAction::settings); // no handler: nothing happens
    EXPECT_EQ(composerRuns, 1);

    manager->setSuspended(true);
    EXPECT_EQ(m_record.unregistered, 1);
    manager->update(ShortcutAction::settings, {47, kCommand | kControl, QStringLiteral(".")});
    EXPECT_EQ(m_record.registered.size(), 1); // not while suspended
    manager->setSuspended(false);
    ASSERT_EQ(m_record.registered.size(), 2);
    EXPECT_EQ(m_record.registered.last().value(ShortcutAction::settings).keyCode, 47);

    m_registrar->refuse(QStringLiteral("taken"));
    EXPECT_EQ(manager->registrationProblem(), QStringLiteral("taken"));
}

TEST(PortableKeyMap, MapsModifiersAsQtDoesOnAMacAndKeysBothWays)
{
    EXPECT_EQ(PortableKeyMap::qtModifiers(kCommand), Qt::ControlModifier);
    EXPECT_EQ(PortableKeyMap::qtModifiers(kControl), Qt::MetaModifier);
    EXPECT_EQ(PortableKeyMap::qtModifiers(kOption), Qt::AltModifier);
    EXPECT_EQ(PortableKeyMap::qtModifiers(kShift), Qt::ShiftModifier);
    for (quint16 code = 0; code < 128; ++code) {
        if (const auto key = PortableKeyMap::qtKey(code)) {
            EXPECT_EQ(PortableKeyMap::keyCode(*key), code) << code;
        }
    }
    const auto recorded = PortableKeyMap::fromQt(Qt::Key_Comma, Qt::ControlModifier | Qt::MetaModifier);
    EXPECT_EQ(recorded, KeyboardShortcut::defaultFor(ShortcutAction::settings));
}
