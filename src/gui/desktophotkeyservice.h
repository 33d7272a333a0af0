#pragma once

#include <QDBusConnection>
#include <memory>

#include "app/hotkeyservice.h"

namespace Nomly {

class PortalGlobalShortcut;
class X11KeyGrab;

// The quick-rename hotkey on a Linux desktop: bound through the desktop
// portal where it offers global shortcuts, else grabbed on the X server, else
// unavailable. The selection it acts on is the files copied to the clipboard.
class DesktopHotkeyService final : public HotkeyService
{
    Q_OBJECT

public:
    enum class Mechanism
    {
        // Still asking the session bus whether a portal is there.
        Detecting,
        Portal,
        X11,
        None,
    };
    Q_ENUM(Mechanism)

    // `bus` is where the desktop portal is looked for.
    explicit DesktopHotkeyService(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);
    ~DesktopHotkeyService() override;
    DesktopHotkeyService(const DesktopHotkeyService &) = delete;
    DesktopHotkeyService &operator=(const DesktopHotkeyService &) = delete;

    void setup(bool enabled, std::optional<KeyboardShortcut> shortcut) override;
    // True while the mechanism is still being found.
    bool isAvailable() const override;
    QString unavailableReason() const override;
    QCoro::Task<QStringList> selectedFiles() override;

    Mechanism mechanism() const { return m_mechanism; }

    bool isRegistered() const;

Q_SIGNALS:
    // A call of setup() has taken effect, with the shortcut registered or not.
    void setupFinished(bool registered);

private:
    QCoro::Task<> apply();
    QCoro::Task<> detect();
    QCoro::Task<> applyOnce(bool enabled, std::optional<KeyboardShortcut> shortcut);
    void useX11OrNothing();
    void unregister();

    QDBusConnection m_bus;
    Mechanism m_mechanism = Mechanism::Detecting;
    std::unique_ptr<PortalGlobalShortcut> m_portal;
    std::unique_ptr<X11KeyGrab> m_grab;
    bool m_enabled = false;
    std::optional<KeyboardShortcut> m_shortcut;
    // Each setup() call raises it; a run of apply() goes on until it has
    // applied the latest.
    quint64 m_requested = 0;
    bool m_applying = false;
};

} // namespace Nomly
