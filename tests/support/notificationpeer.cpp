#include "notificationpeer.h"

#include <QDBusConnection>
#include <QMetaObject>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace Nomly::Test {

namespace {

const QString Service = u"org.freedesktop.Notifications"_s;
const QString ObjectPath = u"/org/freedesktop/Notifications"_s;
const QString ConnectionName = u"notification-peer"_s;

} // namespace

class NotificationServer final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    mutable QMutex mutex;
    QStringList summaries;

public Q_SLOTS:

    uint Notify(const QString &,
                uint,
                const QString &,
                const QString &summary,
                const QString &,
                const QStringList &,
                const QVariantMap &,
                int)
    {
        const QMutexLocker lock(&mutex);
        summaries.append(summary);
        return uint(summaries.size());
    }

    QStringList GetCapabilities() { return { u"body"_s }; }
};

NotificationPeer::NotificationPeer()
{
    m_thread.start();
    m_server = new NotificationServer;
    m_server->moveToThread(&m_thread);
    // Registered from its own thread, so that calls are served there.
    QMetaObject::invokeMethod(
        m_server,
        [this] {
            QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, ConnectionName);
            m_serving = bus.isConnected() && bus.registerObject(ObjectPath, m_server, QDBusConnection::ExportAllSlots)
                && bus.registerService(Service);
        },
        Qt::BlockingQueuedConnection);
}

NotificationPeer::~NotificationPeer()
{
    QMetaObject::invokeMethod(
        m_server,
        [this] {
            QDBusConnection bus(ConnectionName);
            bus.unregisterService(Service);
            bus.unregisterObject(ObjectPath);
            QDBusConnection::disconnectFromBus(ConnectionName);
            delete m_server;
        },
        Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

QStringList NotificationPeer::summaries() const
{
    const QMutexLocker lock(&m_server->mutex);
    return m_server->summaries;
}

} // namespace Nomly::Test

#include "notificationpeer.moc"
