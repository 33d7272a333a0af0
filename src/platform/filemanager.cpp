#include "platform/filemanager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QUrl>

#include <qcoro/qcorodbuspendingcall.h>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

const QString Service = QStringLiteral("org.freedesktop.FileManager1");
const QString ObjectPath = QStringLiteral("/org/freedesktop/FileManager1");

} // namespace

QCoro::Task<bool> showItemInFileManager(QString path)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        co_return false;
    QDBusMessage call = QDBusMessage::createMethodCall(Service, ObjectPath, Service, QStringLiteral("ShowItems"));
    // The second argument is a startup-notification id; none is known here.
    call << QStringList { QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) } << QString();
    const QDBusPendingCall pending = bus.asyncCall(call);
    const QDBusMessage reply = co_await pending;
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qCInfo(lcGeneral).noquote() << "No file manager showed the item:" << reply.errorName();
        co_return false;
    }
    co_return true;
}

} // namespace Nomly
