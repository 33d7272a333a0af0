#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QObject>

#include "platform/result.h"
#include "settings/keyboardshortcut.h"

struct xcb_connection_t;

namespace Nomly {

// A key combination grabbed on the root windows of an X11 display, so that the
// X server hands its presses to this application whichever window has focus.
class X11KeyGrab final : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit X11KeyGrab(QObject *parent = nullptr);
    ~X11KeyGrab() override;
    X11KeyGrab(const X11KeyGrab &) = delete;
    X11KeyGrab &operator=(const X11KeyGrab &) = delete;

    // Whether the application talks to an X server.
    static bool isSupported();

    // Releases any earlier grab and grabs the shortcut. Fails when the key has
    // no key code in the current keyboard map or another client holds it.
    Result<> grab(const KeyboardShortcut &shortcut);
    void release();

    bool isGrabbed() const { return m_keycode != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void pressed();

private:
    xcb_connection_t *m_connection = nullptr;
    QList<quint32> m_roots;
    quint8 m_keycode = 0;
    quint16 m_modifiers = 0;
    // Masks of the lock keys, which the grab has to ignore.
    quint16 m_numLock = 0;
    bool m_held = false;
    quint32 m_lastRelease = 0;
};

} // namespace Nomly
