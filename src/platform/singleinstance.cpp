#include "platform/singleinstance.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include "platform/logcategories.h"

namespace Nomly {

const QString SingleInstance::ServiceName = QStringLiteral("org.nomly.Nomly");
const QString SingleInstance::ObjectPath = QStringLiteral("/org/nomly/Nomly");

namespace {

// Forwarding is a local hand-off; a first process that hangs must not keep
// the second one, started from a file manager, waiting for long.
constexpr int ForwardTimeoutMs = 5000;

} // namespace

SingleInstance::SingleInstance(QDBusConnection connection, QObject *parent)
    : QObject(parent)
    , m_connection(std::move(connection))
{}

SingleInstance::~SingleInstance()
{
    if (m_registered) {
        m_connection.unregisterObject(ObjectPath);
        m_connection.unregisterService(ServiceName);
    }
}

bool SingleInstance::claim()
{
    if (!m_connection.isConnected()) {
        qCInfo(lcGeneral) << "No session bus; running without single-instance hand-over";
        return true;
    }
    // The object is in place before the name, so that a caller who sees the
    // name can always reach it.
    if (!m_connection.registerObject(ObjectPath, this, QDBusConnection::ExportScriptableSlots))
        return false;
    if (!m_connection.registerService(ServiceName)) {
        m_connection.unregisterObject(ObjectPath);
        return false;
    }
    m_registered = true;
    return true;
}

bool SingleInstance::forward(const QStringList &files)
{
    QDBusMessage call = QDBusMessage::createMethodCall(ServiceName, ObjectPath, ServiceName, QStringLiteral("Open"));
    call << files;
    const QDBusMessage reply = m_connection.call(call, QDBus::Block, ForwardTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qCWarning(lcGeneral).noquote() << "The running Nomly did not answer:" << reply.errorMessage();
        return false;
    }
    return true;
}

bool SingleInstance::forwardQuickRename(const QStringList &files)
{
    if (!m_connection.isConnected() || !m_connection.interface()
        || !m_connection.interface()->isServiceRegistered(ServiceName).value())
        return false;
    QDBusMessage call
        = QDBusMessage::createMethodCall(ServiceName, ObjectPath, ServiceName, QStringLiteral("QuickRename"));
    call << files;
    const QDBusMessage reply = m_connection.call(call, QDBus::Block, ForwardTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        qCWarning(lcGeneral).noquote() << "The running Nomly did not answer:" << reply.errorMessage();
        return false;
    }
    return true;
}

void SingleInstance::QuickRename(const QStringList &files)
{
    Q_EMIT quickRenameRequested(files);
}

void SingleInstance::Open(const QStringList &files)
{
    Q_EMIT filesReceived(files);
}

} // namespace Nomly
