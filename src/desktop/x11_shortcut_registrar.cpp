#include "desktop/x11_shortcut_registrar.h"

#include "desktop/portable_key_map.h"

#include <QSocketNotifier>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr std::uint32_t kNumLockKeysym = 0xff7f;
constexpr std::uint16_t kRelevantModifiers =
    XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
constexpr std::uint8_t kBadAccess = 10;

template<class T>
using XcbReply = std::unique_ptr<T, decltype(&std::free)>;

// Command is Ctrl, Control is Super (Mod4), Option is Alt (Mod1), as Qt maps them.
std::uint16_t x11Modifiers(Qt::KeyboardModifiers modifiers)
{
    std::uint16_t mask = 0;
    if (modifiers.testFlag(Qt::ControlModifier))
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers.testFlag(Qt::MetaModifier))
        mask |= XCB_MOD_MASK_4;
    if (modifiers.testFlag(Qt::AltModifier))
        mask |= XCB_MOD_MASK_1;
    if (modifiers.testFlag(Qt::ShiftModifier))
        mask |= XCB_MOD_MASK_SHIFT;
    return mask;
}

// Printable ASCII keys have the keysym of their unshifted character.
xcb_keysym_t keysymFor(Qt::Key key)
{
    if (key < 0x20 || key > 0x7e)
        return 0;
    return QChar(char16_t(key)).toLower().unicode();
}

} // namespace

X11ShortcutRegistrar::X11ShortcutRegistrar(const QByteArray& displayName, QObject* parent)
    : QObject(parent)
{
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    m_connection = connection;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
    m_symbols = xcb_key_symbols_alloc(m_connection);
    m_numLockMask = findNumLockMask();
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &X11ShortcutRegistrar::readEvents);
}

X11ShortcutRegistrar::~X11ShortcutRegistrar()
{
    if (!m_connection)
        return;
    unregisterAll();
    xcb_key_symbols_free(m_symbols);
    xcb_disconnect(m_connection);
}

void X11ShortcutRegistrar::registerAll(const ShortcutMap& shortcuts)
{
    if (!m_connection) {
        reportProblem(QStringLiteral("Global shortcuts cannot be registered: the X server cannot be reached."));
        return;
    }
    unregisterAll();
    for (auto it = shortcuts.cbegin(); it != shortcuts.cend(); ++it)
        grab(it.key(), it.value());
    xcb_flush(m_connection);
    // Checking the grabs read the socket, and events queued meanwhile raise no notifier.
    QMetaObject::invokeMethod(this, &X11ShortcutRegistrar::readEvents, Qt::QueuedConnection);
}

void X11ShortcutRegistrar::unregisterAll()
{
    if (!m_connection)
        return;
    for (const Grab& grabbed : std::as_const(m_grabs))
        xcb_ungrab_key(m_connection, grabbed.keycode, m_root, grabbed.modifiers);
    m_grabs.clear();
    xcb_flush(m_connection);
}

void X11ShortcutRegistrar::grab(ShortcutAction action, const KeyboardShortcut& shortcut)
{
    const QList<std::uint8_t> keycodes = keycodesFor(shortcut);
    const QString name = PortableKeyMap::displayText(shortcut);
    if (keycodes.isEmpty()) {
        reportProblem(QStringLiteral("%1 for %2 cannot be registered: the keyboard layout has no such key.")
                          .arg(name, shortcutActionDisplayName(action)));
        return;
    }
    const std::uint16_t modifiers = x11Modifiers(PortableKeyMap::qtModifiers(shortcut.modifiers));
    bool taken = false;
    for (const std::uint8_t keycode : keycodes) {
        for (const std::uint16_t variant : lockVariants(modifiers)) {
            const xcb_void_cookie_t cookie = xcb_grab_key_checked(m_connection, 1, m_root, variant, keycode,
                                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie), &std::free);
            if (!error) {
                m_grabs.append({keycode, variant, action});
                continue;
            }
            taken = taken || error->error_code == kBadAccess;
        }
    }
    if (taken) {
        // Half a shortcut (only with NumLock on, say) would only puzzle: let go of all of it.
        for (qsizetype i = m_grabs.size() - 1; i >= 0 && m_grabs[i].action == action; --i) {
            xcb_ungrab_key(m_connection, m_grabs[i].keycode, m_root, m_grabs[i].modifiers);
            m_grabs.removeAt(i);
        }
        reportProblem(QStringLiteral("%1 for %2 is already taken by another program. Pick a different combination.")
                          .arg(name, shortcutActionDisplayName(action)));
    }
}

QList<std::uint8_t> X11ShortcutRegistrar::keycodesFor(const KeyboardShortcut& shortcut) const
{
    const std::optional<Qt::Key> key = PortableKeyMap::qtKey(shortcut.keyCode);
    const xcb_keysym_t keysym = key ? keysymFor(*key) : 0;
    if (keysym == 0)
        return {};
    XcbReply<xcb_keycode_t> codes(xcb_key_symbols_get_keycode(m_symbols, keysym), &std::free);
    QList<std::uint8_t> result;
    for (const xcb_keycode_t* code = codes.get(); code && *code != XCB_NO_SYMBOL; ++code)
        result.append(*code);
    return result;
}

QList<std::uint16_t> X11ShortcutRegistrar::lockVariants(std::uint16_t modifiers) const
{
    QList<std::uint16_t> variants{modifiers, std::uint16_t(modifiers | XCB_MOD_MASK_LOCK)};
    if (m_numLockMask != 0) {
        variants << std::uint16_t(modifiers | m_numLockMask)
                 << std::uint16_t(modifiers | m_numLockMask | XCB_MOD_MASK_LOCK);
    }
    return variants;
}

std::uint16_t X11ShortcutRegistrar::findNumLockMask() const
{
    XcbReply<xcb_keycode_t> numLockCodes(xcb_key_symbols_get_keycode(m_symbols, kNumLockKeysym), &std::free);
    XcbReply<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr), &std::free);
    if (!numLockCodes || !mapping)
        return XCB_MOD_MASK_2;
    const xcb_keycode_t* table = xcb_get_modifier_mapping_keycodes(mapping.get());
    const int perModifier = mapping->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t code = table[modifier * perModifier + i];
            for (const xcb_keycode_t* numLock = numLockCodes.get(); code != 0 && *numLock != XCB_NO_SYMBOL; ++numLock) {
                if (*numLock == code)
                    return std::uint16_t(1u << modifier);
            }
        }
    }
    return XCB_MOD_MASK_2;
}

void X11ShortcutRegistrar::readEvents()
{
    if (!m_connection)
        return;
    std::optional<ShortcutAction> pressed;
    while (xcb_generic_event_t* raw = xcb_poll_for_event(m_connection)) {
        XcbReply<xcb_generic_event_t> event(raw, &std::free);
        if ((event->response_type & 0x7f) == XCB_MAPPING_NOTIFY)
            xcb_refresh_keyboard_mapping(m_symbols, reinterpret_cast<xcb_mapping_notify_event_t*>(raw));
        if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
            continue;
        const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(raw);
        const std::uint16_t state = press->state & kRelevantModifiers;
        for (const Grab& grabbed : std::as_const(m_grabs)) {
            if (grabbed.keycode == press->detail && (grabbed.modifiers & kRelevantModifiers) == state) {
                pressed = grabbed.action;
                break;
            }
        }
    }
    // Run after reading: a handler may re-register, which changes m_grabs.
    if (pressed)
        reportActivated(*pressed);
}
