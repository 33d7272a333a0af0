#include "gui/portalglobalshortcut.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QRandomGenerator>
#include <chrono>
#include <memory>

#include <qcoro/qcorodbuspendingcall.h>
#include <qcoro/qcorosignal.h>

namespace Nomly {

namespace {

const QString Service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString DesktopPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString ShortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString RequestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString SessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString ShortcutId = QStringLiteral("quick-rename");

// Creating a session answers at once; binding may wait for the user in a
// dialog of the desktop.
constexpr std::chrono::seconds SessionTimeout { 20 };
constexpr std::chrono::minutes BindTimeout { 3 };
// Response codes: 0 success, 1 cancelled by the user, 2 anything else; this one
// is ours, for a request the portal refused outright.
constexpr uint NoResponse = 0xffffffff;

// An element of the shortcut list BindShortcuts takes: a(sa{sv}).
struct PortalShortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

QString token()
{
    return QStringLiteral("nomly%1").arg(QRandomGenerator::global()->generate());
}

} // namespace

// The answer of one portal request, which comes as a signal on an object of
// its own.
class PortalResponse final : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

public Q_SLOTS:

    void handle(uint response, const QVariantMap &results) { Q_EMIT answered(response, results); }

Q_SIGNALS:
    void answered(uint response, const QVariantMap &results);
};

} // namespace Nomly

Q_DECLARE_METATYPE(Nomly::PortalShortcut)

namespace Nomly {

PortalGlobalShortcut::PortalGlobalShortcut(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    m_bus.connect(Service,
                  DesktopPath,
                  ShortcutsInterface,
                  QStringLiteral("Activated"),
                  this,
                  SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
}

PortalGlobalShortcut::~PortalGlobalShortcut()
{
    release();
}

QCoro::Task<bool> PortalGlobalShortcut::isOffered(QDBusConnection bus)
{
    if (!bus.isConnected())
        co_return false;
    const QDBusMessage call = QDBusMessage::createMethodCall(
        Service, DesktopPath, QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    const QDBusPendingCall pending = bus.asyncCall(call);
    const QDBusMessage reply = co_await pending;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        co_return false;
    const QString xml = reply.arguments().constFirst().toString();
    co_return xml.contains(QLatin1String("<interface name=\"%1\"").arg(ShortcutsInterface));
}

QString PortalGlobalShortcut::trigger(const KeyboardShortcut &shortcut)
{
    const std::optional<ShortcutKey> key = shortcutKey(shortcut.keyCode);
    if (!key)
        return {};
    QStringList parts;
    if (shortcut.modifiers & KeyboardShortcut::CommandModifier)
        parts << QStringLiteral("CTRL");
    if (shortcut.modifiers & KeyboardShortcut::OptionModifier)
        parts << QStringLiteral("ALT");
    if (shortcut.modifiers & KeyboardShortcut::ShiftModifier)
        parts << QStringLiteral("SHIFT");
    if (shortcut.modifiers & KeyboardShortcut::ControlModifier)
        parts << QStringLiteral("LOGO");
    parts << QString::fromLatin1(key->keysymName);
    return parts.join(u'+');
}

QCoro::Task<Result<>> PortalGlobalShortcut::bind(KeyboardShortcut shortcut)
{
    release();
    const QString preferred = trigger(shortcut);
    if (preferred.isEmpty())
        co_return Failure { QStringLiteral("the key %1 is unknown on this desktop").arg(shortcut.keyCode) };

    QDBusMessage create
        = QDBusMessage::createMethodCall(Service, DesktopPath, ShortcutsInterface, QStringLiteral("CreateSession"));
    const QString createToken = token();
    create << QVariantMap { { QStringLiteral("handle_token"), createToken },
                            { QStringLiteral("session_handle_token"), token() } };
    auto creating = request(create, createToken);
    const Result<QVariantMap> created = co_await creating;
    if (!created)
        co_return Failure { QStringLiteral("the desktop did not open a shortcut session: ") + created.error(),
                            NoSession };
    const QString session = created.value().value(QStringLiteral("session_handle")).toString();
    if (session.isEmpty())
        co_return Failure { QStringLiteral("the desktop opened no shortcut session"), NoSession };
    m_session = session;
    m_bus.connect(Service, m_session, SessionInterface, QStringLiteral("Closed"), this, SLOT(onSessionClosed()));

    const QList<PortalShortcut> shortcuts {
        { ShortcutId,
          { { QStringLiteral("description"), tr("Rename the copied files") },
            { QStringLiteral("preferred_trigger"), preferred } } },
    };
    QDBusMessage bindCall
        = QDBusMessage::createMethodCall(Service, DesktopPath, ShortcutsInterface, QStringLiteral("BindShortcuts"));
    const QString bindToken = token();
    bindCall << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(shortcuts) << QString()
             << QVariantMap { { QStringLiteral("handle_token"), bindToken } };
    auto binding = request(bindCall, bindToken);
    const Result<QVariantMap> bound = co_await binding;
    if (!bound) {
        release();
        co_return Failure { QStringLiteral("the desktop did not bind the shortcut: ") + bound.error() };
    }
    co_return Result<>();
}

void PortalGlobalShortcut::release()
{
    if (m_session.isEmpty())
        return;
    m_bus.disconnect(Service, m_session, SessionInterface, QStringLiteral("Closed"), this, SLOT(onSessionClosed()));
    m_bus.send(QDBusMessage::createMethodCall(Service, m_session, SessionInterface, QStringLiteral("Close")));
    m_session.clear();
}

void PortalGlobalShortcut::onActivated(const QDBusObjectPath &session,
                                       const QString &id,
                                       qulonglong timestamp,
                                       const QVariantMap &options)
{
    Q_UNUSED(timestamp);
    Q_UNUSED(options);
    if (!m_session.isEmpty() && session.path() == m_session && id == ShortcutId)
        Q_EMIT activated();
}

void PortalGlobalShortcut::onSessionClosed()
{
    m_bus.disconnect(Service, m_session, SessionInterface, QStringLiteral("Closed"), this, SLOT(onSessionClosed()));
    m_session.clear();
}

// The portal names a request's object after the caller's unique bus name and
// the token, so its answer is listened for before the call goes out.
QString PortalGlobalShortcut::requestPath(const QString &handleToken) const
{
    QString sender = m_bus.baseService();
    sender.remove(0, 1).replace(u'.', u'_');
    return DesktopPath + QStringLiteral("/request/") + sender + u'/' + handleToken;
}

QCoro::Task<Result<QVariantMap>> PortalGlobalShortcut::request(QDBusMessage call, QString handleToken)
{
    const bool binding = call.member() == QLatin1String("BindShortcuts");
    auto response = std::make_unique<PortalResponse>();
    auto listen = [&](const QString &path) {
        m_bus.connect(Service,
                      path,
                      RequestInterface,
                      QStringLiteral("Response"),
                      response.get(),
                      SLOT(handle(uint, QVariantMap)));
    };
    const QString expected = requestPath(handleToken);
    listen(expected);
    std::optional<std::tuple<uint, QVariantMap>> answer;
    auto answering = qCoro(
        response.get(), &PortalResponse::answered, binding ? std::chrono::milliseconds(BindTimeout) : SessionTimeout);

    const QDBusPendingCall pending = m_bus.asyncCall(call);
    const QDBusMessage reply = co_await pending;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        // No answer will come; the wait for it ends here, so that it does not
        // outlive its receiver.
        response->handle(NoResponse, {});
        co_await answering;
        co_return Failure { reply.errorMessage().isEmpty() ? reply.errorName() : reply.errorMessage() };
    }
    const QString actual = qvariant_cast<QDBusObjectPath>(reply.arguments().constFirst()).path();
    // Older portals chose the path themselves.
    if (!actual.isEmpty() && actual != expected)
        listen(actual);

    answer = co_await answering;
    if (!answer)
        co_return Failure { QStringLiteral("no answer in time") };
    const auto &[code, results] = *answer;
    if (code == NoResponse)
        co_return Failure { QStringLiteral("no answer") };
    if (code == 1)
        co_return Failure { QStringLiteral("cancelled by the user") };
    if (code != 0)
        co_return Failure { QStringLiteral("refused (response %1)").arg(code) };
    co_return results;
}

} // namespace Nomly

#include "portalglobalshortcut.moc"
