#include "gui/x11keygrab.h"

#include <QByteArray>
#include <QGuiApplication>
#include <array>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace Nomly {

namespace {

// Keysyms of the keys whose modifier bit depends on the keyboard map.
constexpr quint32 NumLockKeysym = 0xff7f;
constexpr quint32 AltLKeysym = 0xffe9;
constexpr quint32 SuperLKeysym = 0xffeb;
constexpr quint32 SuperRKeysym = 0xffec;

template<typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

template<typename T> Reply<T> reply(T *pointer)
{
    return Reply<T>(pointer, &std::free);
}

xcb_connection_t *x11Connection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

// The current keyboard map: which keysyms each key code carries.
class KeyboardMap
{
public:
    explicit KeyboardMap(xcb_connection_t *connection)
        : m_connection(connection)
        , m_first(xcb_get_setup(connection)->min_keycode)
        , m_mapping(reply(xcb_get_keyboard_mapping_reply(
              connection,
              xcb_get_keyboard_mapping(
                  connection, m_first, quint8(xcb_get_setup(connection)->max_keycode - m_first + 1)),
              nullptr)))
    {}

    // The key code that carries the keysym, preferring one where it is the
    // unshifted symbol of the first group; 0 when none does.
    quint8 keycode(quint32 keysym) const
    {
        if (!m_mapping)
            return 0;
        const int perCode = m_mapping->keysyms_per_keycode;
        const int count = xcb_get_keyboard_mapping_keysyms_length(m_mapping.get());
        const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(m_mapping.get());
        for (int column = 0; column < perCode; ++column) {
            for (int index = column; index < count; index += perCode) {
                if (syms[index] == keysym)
                    return quint8(m_first + index / perCode);
            }
        }
        return 0;
    }

    // The modifier mask that a key with the keysym sets, 0 when none.
    quint16 modifierMask(quint32 keysym) const
    {
        const quint8 code = keycode(keysym);
        if (code == 0)
            return 0;
        auto modifiers
            = reply(xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
        if (!modifiers)
            return 0;
        const int perModifier = modifiers->keycodes_per_modifier;
        const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
        for (int modifier = 0; modifier < 8; ++modifier) {
            for (int slot = 0; slot < perModifier; ++slot) {
                if (codes[modifier * perModifier + slot] == code)
                    return quint16(1u << modifier);
            }
        }
        return 0;
    }

private:
    xcb_connection_t *m_connection;
    quint8 m_first;
    Reply<xcb_get_keyboard_mapping_reply_t> m_mapping;
};

} // namespace

X11KeyGrab::X11KeyGrab(QObject *parent)
    : QObject(parent)
    , m_connection(x11Connection())
{
    if (!m_connection)
        return;
    for (auto it = xcb_setup_roots_iterator(xcb_get_setup(m_connection)); it.rem; xcb_screen_next(&it))
        m_roots << it.data->root;
    qGuiApp->installNativeEventFilter(this);
}

X11KeyGrab::~X11KeyGrab()
{
    release();
    if (m_connection && qGuiApp)
        qGuiApp->removeNativeEventFilter(this);
}

bool X11KeyGrab::isSupported()
{
    return x11Connection() != nullptr;
}

Result<> X11KeyGrab::grab(const KeyboardShortcut &shortcut)
{
    release();
    if (!m_connection)
        return Failure { QStringLiteral("the application is not connected to an X server") };
    const std::optional<ShortcutKey> key = shortcutKey(shortcut.keyCode);
    if (!key)
        return Failure { QStringLiteral("the key %1 is unknown on this desktop").arg(shortcut.keyCode) };

    const KeyboardMap map(m_connection);
    const quint8 keycode = map.keycode(key->keysym);
    if (keycode == 0)
        return Failure { QStringLiteral("the keyboard layout has no %1 key").arg(QLatin1String(key->displayName)) };

    // Alt, Super and NumLock usually sit on Mod1, Mod4 and Mod2, but the
    // keyboard map decides.
    const quint16 alt = map.modifierMask(AltLKeysym) ? map.modifierMask(AltLKeysym) : quint16(XCB_MOD_MASK_1);
    quint16 super = map.modifierMask(SuperLKeysym);
    if (super == 0)
        super = map.modifierMask(SuperRKeysym);
    if (super == 0)
        super = XCB_MOD_MASK_4;
    m_numLock = map.modifierMask(NumLockKeysym) ? map.modifierMask(NumLockKeysym) : quint16(XCB_MOD_MASK_2);

    quint16 modifiers = 0;
    if (shortcut.modifiers & KeyboardShortcut::CommandModifier)
        modifiers |= XCB_MOD_MASK_CONTROL;
    if (shortcut.modifiers & KeyboardShortcut::ShiftModifier)
        modifiers |= XCB_MOD_MASK_SHIFT;
    if (shortcut.modifiers & KeyboardShortcut::OptionModifier)
        modifiers |= alt;
    if (shortcut.modifiers & KeyboardShortcut::ControlModifier)
        modifiers |= super;

    // A passive grab matches the exact modifier state, so the combination is
    // grabbed again with each state of CapsLock and NumLock.
    const std::array<quint16, 4> locks { 0, XCB_MOD_MASK_LOCK, m_numLock, quint16(XCB_MOD_MASK_LOCK | m_numLock) };
    bool taken = false;
    for (quint32 root : std::as_const(m_roots)) {
        for (quint16 lock : locks) {
            const xcb_void_cookie_t cookie = xcb_grab_key_checked(
                m_connection, 1, root, modifiers | lock, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            if (auto error = reply(xcb_request_check(m_connection, cookie)))
                taken = true;
        }
    }
    m_keycode = keycode;
    m_modifiers = modifiers;
    if (taken) {
        release();
        return Failure { QStringLiteral("another application already uses %1").arg(displayText(shortcut)) };
    }
    return {};
}

void X11KeyGrab::release()
{
    if (!m_connection || m_keycode == 0)
        return;
    const std::array<quint16, 4> locks { 0, XCB_MOD_MASK_LOCK, m_numLock, quint16(XCB_MOD_MASK_LOCK | m_numLock) };
    for (quint32 root : std::as_const(m_roots)) {
        for (quint16 lock : locks)
            xcb_ungrab_key(m_connection, m_keycode, root, m_modifiers | lock);
    }
    xcb_flush(m_connection);
    m_keycode = 0;
    m_modifiers = 0;
    m_held = false;
}

bool X11KeyGrab::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result)
{
    Q_UNUSED(result);
    if (m_keycode == 0 || eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const quint8 type = event->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto *key = reinterpret_cast<const xcb_key_press_event_t *>(event);
    if (key->detail != m_keycode || !m_roots.contains(key->event))
        return false;
    // The release ends the grab whichever modifiers are still down by then.
    if (type == XCB_KEY_RELEASE) {
        m_held = false;
        m_lastRelease = key->time;
        return true;
    }
    const quint16 state = key->state & 0xff & ~(XCB_MOD_MASK_LOCK | m_numLock);
    if (state != m_modifiers)
        return false;
    // Held keys repeat: as presses alone, or as release and press pairs that
    // share a time.
    const bool repeat = m_held || key->time == m_lastRelease;
    m_held = true;
    if (!repeat)
        Q_EMIT pressed();
    return true;
}

} // namespace Nomly
