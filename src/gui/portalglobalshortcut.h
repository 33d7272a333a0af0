#pragma once

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

#include <qcoro/qcorotask.h>

#include "platform/result.h"
#include "settings/keyboardshortcut.h"

namespace Nomly {

// One shortcut bound through the desktop portal's GlobalShortcuts interface:
// the desktop owns the key and reports its presses over the session bus.
class PortalGlobalShortcut final : public QObject
{
    Q_OBJECT

public:
    // Failure code of bind() when the desktop opened no session at all.
    static constexpr int NoSession = 1;

    explicit PortalGlobalShortcut(QDBusConnection bus, QObject *parent = nullptr);
    ~PortalGlobalShortcut() override;
    PortalGlobalShortcut(const PortalGlobalShortcut &) = delete;
    PortalGlobalShortcut &operator=(const PortalGlobalShortcut &) = delete;

    // Whether a desktop portal on the bus offers global shortcuts.
    static QCoro::Task<bool> isOffered(QDBusConnection bus);

    // Ends any earlier binding, opens a session and binds the shortcut in it.
    // The desktop may ask the user to confirm or change the keys.
    QCoro::Task<Result<>> bind(KeyboardShortcut shortcut);
    void release();

    bool isBound() const { return !m_session.isEmpty(); }

    // The shortcut in the portal's trigger syntax, such as "CTRL+SHIFT+r";
    // empty for a key the portal cannot name.
    static QString trigger(const KeyboardShortcut &shortcut);

Q_SIGNALS:
    void activated();

private Q_SLOTS:
    void onActivated(const QDBusObjectPath &session,
                     const QString &id,
                     qulonglong timestamp,
                     const QVariantMap &options);
    void onSessionClosed();

private:
    QCoro::Task<Result<QVariantMap>> request(QDBusMessage call, QString token);
    QString requestPath(const QString &token) const;

    QDBusConnection m_bus;
    QString m_session;
};

} // namespace Nomly
