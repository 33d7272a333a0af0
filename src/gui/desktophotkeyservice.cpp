#include "gui/desktophotkeyservice.h"

#include <QGuiApplication>
#include <QPointer>

#include "gui/clipboardselection.h"
#include "gui/portalglobalshortcut.h"
#include "gui/x11keygrab.h"
#include "platform/logcategories.h"

namespace Nomly {

DesktopHotkeyService::DesktopHotkeyService(QDBusConnection bus, QObject *parent)
    : HotkeyService(parent)
    , m_bus(std::move(bus))
{
    // Finding the portal waits on the bus; the first setup() waits for it.
    ++m_requested;
    apply();
}

DesktopHotkeyService::~DesktopHotkeyService() = default;

void DesktopHotkeyService::setup(bool enabled, std::optional<KeyboardShortcut> shortcut)
{
    m_enabled = enabled;
    m_shortcut = shortcut;
    ++m_requested;
    if (!m_applying)
        apply();
}

bool DesktopHotkeyService::isAvailable() const
{
    return m_mechanism != Mechanism::None;
}

QString DesktopHotkeyService::unavailableReason() const
{
    if (isAvailable())
        return {};
    return tr("This desktop offers no global shortcuts to applications (it has no global shortcuts portal and is not "
              "an X11 session).");
}

bool DesktopHotkeyService::isRegistered() const
{
    return (m_portal && m_portal->isBound()) || (m_grab && m_grab->isGrabbed());
}

QCoro::Task<QStringList> DesktopHotkeyService::selectedFiles()
{
    auto reading = clipboardFiles(QGuiApplication::clipboard());
    co_return co_await reading;
}

QCoro::Task<> DesktopHotkeyService::apply()
{
    QPointer<DesktopHotkeyService> self(this);
    m_applying = true;
    if (m_mechanism == Mechanism::Detecting) {
        auto detecting = detect();
        co_await detecting;
        if (!self)
            co_return;
    }
    quint64 applied = 0;
    while (applied != m_requested) {
        applied = m_requested;
        auto applying = applyOnce(m_enabled, m_shortcut);
        co_await applying;
        if (!self)
            co_return;
        // A later setup() call is applied first; only the last one reports.
        if (applied == m_requested && applied > 1)
            Q_EMIT setupFinished(isRegistered());
    }
    m_applying = false;
}

QCoro::Task<> DesktopHotkeyService::detect()
{
    QPointer<DesktopHotkeyService> self(this);
    auto asking = PortalGlobalShortcut::isOffered(m_bus);
    const bool portal = co_await asking;
    if (!self)
        co_return;
    if (portal) {
        m_mechanism = Mechanism::Portal;
        m_portal = std::make_unique<PortalGlobalShortcut>(m_bus);
        connect(m_portal.get(), &PortalGlobalShortcut::activated, this, &HotkeyService::hotkeyPressed);
        Q_EMIT availabilityChanged();
    } else {
        useX11OrNothing();
    }
    qCInfo(lcProcessing) << "Hotkey mechanism:" << m_mechanism;
}

void DesktopHotkeyService::useX11OrNothing()
{
    if (X11KeyGrab::isSupported()) {
        m_mechanism = Mechanism::X11;
        m_grab = std::make_unique<X11KeyGrab>();
        connect(m_grab.get(), &X11KeyGrab::pressed, this, &HotkeyService::hotkeyPressed);
    } else {
        m_mechanism = Mechanism::None;
    }
    Q_EMIT availabilityChanged();
}

QCoro::Task<> DesktopHotkeyService::applyOnce(bool enabled, std::optional<KeyboardShortcut> shortcut)
{
    QPointer<DesktopHotkeyService> self(this);
    unregister();
    if (!enabled || !shortcut)
        co_return;
    const QString shown = displayText(*shortcut);
    Result<> outcome = Failure { unavailableReason() };
    if (m_portal) {
        auto binding = m_portal->bind(*shortcut);
        outcome = co_await binding;
        if (!self)
            co_return;
        // A desktop that lists the portal but opens no session for this
        // application leaves the X server, where there is one.
        if (!outcome && outcome.failure().code == PortalGlobalShortcut::NoSession) {
            qCWarning(lcProcessing).noquote() << "Global shortcuts portal unusable:" << outcome.error();
            m_portal.reset();
            useX11OrNothing();
            outcome = Failure { unavailableReason() };
        }
    }
    if (m_grab)
        outcome = m_grab->grab(*shortcut);
    if (outcome)
        qCInfo(lcProcessing).noquote() << "Hotkey registered:" << shown;
    else
        qCWarning(lcProcessing).noquote() << "Failed to register hotkey:" << outcome.error();
}

void DesktopHotkeyService::unregister()
{
    if (m_portal)
        m_portal->release();
    if (m_grab)
        m_grab->release();
}

} // namespace Nomly
