#include "platform/desktopnotifier.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>
#include <cstdio>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString ObjectPath = QStringLiteral("/org/freedesktop/Notifications");

// The names under which the package installs its desktop entry and icon, so
// that the server can show and group the notification as Nomly's.
const QString AppName = QStringLiteral("Nomly");
const QString IconName = QStringLiteral("nomly");
const QString DesktopEntry = QStringLiteral("nomly");

// A server answers Notify at once; only bus activation of one takes longer.
// Past this the words go to stderr instead.
constexpr int ReplyTimeoutMs = 3000;
// The server chooses how long the bubble stays.
constexpr int ServerDefaultExpiry = -1;

bool notifyOverBus(const QString &title, const QString &body)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(Service, ObjectPath, Service, QStringLiteral("Notify"));
    const QVariantMap hints { { QStringLiteral("desktop-entry"), DesktopEntry } };
    // replaces_id 0 asks for a new notification rather than an update of one.
    call << AppName << 0U << IconName << title << body << QStringList() << hints << ServerDefaultExpiry;
    // The bus itself answers at once with an error when the name has no owner
    // and nothing can be activated for it.
    const QDBusMessage reply = bus.call(call, QDBus::Block, ReplyTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        qCDebug(lcGeneral).noquote() << "No notification server answered:" << reply.errorName();
        return false;
    }
    return true;
}

} // namespace

void DesktopNotifier::post(const QString &title, const QString &body)
{
    if (notifyOverBus(title, body))
        return;
    // One line, whatever the body holds, so that a log reader keeps it whole.
    QString line = title + QStringLiteral(": ") + body;
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    line += QLatin1Char('\n');
    std::fputs(line.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

} // namespace Nomly
