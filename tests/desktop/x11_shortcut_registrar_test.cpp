// Shortcuts grabbed on a private Xvfb server reach their handlers when XTest presses them.
#include "core/preference_store.h"
#include "desktop/shortcut_manager.h"
#include "desktop/x11_shortcut_registrar.h"
#include "support/temp_home.h"
#include "support/xvfb.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>

namespace {

// Another program on the same display: presses keys through XTest, or holds a grab.
class XClient {
public:
    explicit XClient(const QByteArray& display)
        : m_connection(xcb_connect(display.constData(), nullptr))
        , m_symbols(xcb_key_symbols_alloc(m_connection))
    {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~XClient()
    {
        xcb_key_symbols_free(m_symbols);
        xcb_disconnect(m_connection);
    }

    xcb_keycode_t keycode(xcb_keysym_t keysym) const
    {
        std::unique_ptr<xcb_keycode_t, decltype(&std::free)> codes(xcb_key_symbols_get_keycode(m_symbols, keysym), &std::free);
        return codes ? codes.get()[0] : 0;
    }

    // The first key the server's modifier map binds to the modifier (0 Shift … 6 Mod4).
    xcb_keycode_t modifierKey(int modifier) const
    {
        std::unique_ptr<xcb_get_modifier_mapping_reply_t, decltype(&std::free)> mapping(
            xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr), &std::free);
        const xcb_keycode_t* table = xcb_get_modifier_mapping_keycodes(mapping.get());
        for (int i = 0; i < mapping->keycodes_per_modifier; ++i) {
            if (table[modifier * mapping->keycodes_per_modifier + i] != 0)
                return table[modifier * mapping->keycodes_per_modifier + i];
        }
        return 0;
    }

    void tap(const QList<xcb_keycode_t>& keys)
    {
        for (const xcb_keycode_t key : keys)
            xcb_test_fake_input(m_connection, XCB_KEY_PRESS, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        for (auto key = keys.crbegin(); key != keys.crend(); ++key)
            xcb_test_fake_input(m_connection, XCB_KEY_RELEASE, *key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_aux_sync();
    }

    void grab(xcb_keycode_t key, std::uint16_t modifiers)
    {
        xcb_grab_key(m_connection, 1, m_root, modifiers, key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_aux_sync();
    }

private:
    // Waits until the server has handled everything sent so far.
    void xcb_aux_sync() { free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr)); }

    xcb_connection_t* m_connection;
    xcb_key_symbols_t* m_symbols;
    xcb_window_t m_root = 0;
};

bool waitFor(const std::function<bool()>& done)
{
    const QDeadlineTimer deadline(10000);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

constexpr int kShiftRow = 0;
constexpr int kControlRow = 2;
constexpr int kAltRow = 3;
constexpr int kSuperRow = 6;

} // namespace

TEST(X11ShortcutRegistrar, PressedShortcutsRunTheirHandlersAndTakenKeysAreReported)
{
    Xvfb xvfb;
    if (!xvfb.start())
        GTEST_SKIP() << "Xvfb is not installed or did not start";
    XClient other(xvfb.display());
    const xcb_keycode_t control = other.modifierKey(kControlRow);
    const xcb_keycode_t super = other.modifierKey(kSuperRow);
    ASSERT_NE(control, 0);
    ASSERT_NE(super, 0) << "the server's keymap has no Super key";

    // Another program already holds Ctrl+Super+S and Ctrl+Super+comma.
    other.grab(other.keycode('s'), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4);
    other.grab(other.keycode(','), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4);

    TempHome home;
    PreferenceStore preferences(home.paths());
    auto registrar = std::make_unique<X11ShortcutRegistrar>(xvfb.display());
    ASSERT_TRUE(registrar->isConnected());
    ShortcutManager manager(preferences, std::move(registrar));
    int composer = 0;
    manager.setHandler(ShortcutAction::composer, [&] { ++composer; });
    manager.load();
    EXPECT_EQ(manager.registrationProblem(),
              QStringLiteral("Ctrl+Super+S for Post Schedule is already taken by another program. Pick a different combination.\n"
                             "Ctrl+Super+, for Settings is already taken by another program. Pick a different combination."));

    other.tap({control, super, other.keycode('c')});
    EXPECT_TRUE(waitFor([&] { return composer == 1; }));

    // With NumLock on, X reports one more modifier; the shortcut must still fire.
    other.tap({other.keycode(0xff7f)});
    other.tap({control, super, other.keycode('c')});
    EXPECT_TRUE(waitFor([&] { return composer == 2; }));
    other.tap({other.keycode(0xff7f)});

    // A changed shortcut works at once.
    manager.update(ShortcutAction::composer,
                   {45, KeyboardShortcut::command | KeyboardShortcut::option | KeyboardShortcut::shift, QStringLiteral("n")});
    other.tap({control, other.modifierKey(kAltRow), other.modifierKey(kShiftRow), other.keycode('n')});
    EXPECT_TRUE(waitFor([&] { return composer == 3; }));
}
