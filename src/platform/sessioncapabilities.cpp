#include "platform/sessioncapabilities.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>

#include <sys/inotify.h>
#include <unistd.h>

namespace Nomly {

namespace {

bool offers(QDBusConnectionInterface &bus, const QStringList &activatable, const QString &name)
{
    return bus.isServiceRegistered(name).value() || activatable.contains(name);
}

std::optional<int> watchLimit()
{
    QFile file(QStringLiteral("/proc/sys/fs/inotify/max_user_watches"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    bool ok = false;
    const int limit = file.readAll().trimmed().toInt(&ok);
    return ok ? std::optional(limit) : std::nullopt;
}

} // namespace

SessionCapabilities SessionCapabilities::probe()
{
    SessionCapabilities capabilities;
    const QDBusConnection session = QDBusConnection::sessionBus();
    if (QDBusConnectionInterface *bus = session.isConnected() ? session.interface() : nullptr) {
        capabilities.sessionBus = true;
        const QStringList activatable = bus->activatableServiceNames().value();
        capabilities.secretService = offers(*bus, activatable, QStringLiteral("org.freedesktop.secrets"));
        capabilities.notifications = offers(*bus, activatable, QStringLiteral("org.freedesktop.Notifications"));
        capabilities.desktopPortal = offers(*bus, activatable, QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    const int descriptor = inotify_init1(IN_CLOEXEC);
    if (descriptor >= 0) {
        capabilities.inotify = true;
        ::close(descriptor);
    }
    capabilities.inotifyWatchLimit = watchLimit();
    return capabilities;
}

} // namespace Nomly
