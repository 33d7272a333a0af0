#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

namespace Nomly {

// One desktop process per user session. The first takes the name
// "org.nomly.Nomly" on the session bus; a later one hands its files to it and
// ends, so that a file-manager action or a second launch reaches the window
// the user already has.
class SingleInstance final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.nomly.Nomly")

public:
    static const QString ServiceName;
    static const QString ObjectPath;

    explicit SingleInstance(QDBusConnection connection = QDBusConnection::sessionBus(), QObject *parent = nullptr);
    ~SingleInstance() override;

    // True when this process now answers for the session, also when there is
    // no session bus at all (then there is nobody to defer to). False when
    // another process holds the name.
    bool claim();

    // Hands the files to the process that holds the name; an empty list just
    // asks it to come forward. False when it did not answer.
    bool forward(const QStringList &files);
    // Hands the files to the running process for a quick rename. False when
    // no process holds the name (nothing is started for it) or it did not
    // answer; the caller then renames them itself.
    bool forwardQuickRename(const QStringList &files);

public Q_SLOTS:
    // Called over the bus by a later process.
    Q_SCRIPTABLE void Open(const QStringList &files);
    Q_SCRIPTABLE void QuickRename(const QStringList &files);

Q_SIGNALS:
    void filesReceived(const QStringList &files);
    void quickRenameRequested(const QStringList &files);

private:
    QDBusConnection m_connection;
    bool m_registered = false;
};

} // namespace Nomly
