#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QTimer>
#include <optional>

#include "app/monitorstatus.h"
#include "platform/monitorlock.h"

namespace Nomly {

class Database;
class MonitoringViewModel;
class SettingsViewModel;

// A process's part in watching a profile's folders: it watches only while it
// holds the profile's lock; it keeps a status file that other processes of
// the profile read; and it follows the pause they store, told by a touch of
// a control file (no polling). Lives on the main thread.
class MonitorSession final : public QObject
{
    Q_OBJECT

public:
    MonitorSession(MonitoringViewModel &monitoring,
                   SettingsViewModel &state,
                   Database &database,
                   QString dataDirectory,
                   QObject *parent = nullptr);
    ~MonitorSession() override;

    // Takes the lock and starts Monitor. False when another process holds
    // the lock; then nothing is watched here until that process lets the
    // lock go, when this one takes over.
    bool begin();
    // Stops Monitor, removes the status file and frees the lock.
    void end();

    bool isActive() const { return m_lock.isLocked(); }

    std::optional<MonitorLock::Holder> holder() const { return m_lock.holder(); }

    // For the processes that do not watch: the status the watching one
    // wrote, when one runs.
    static std::optional<MonitorStatus> readStatus(const QString &dataDirectory);
    // Tells the watching process, if any, to read the stored pause again.
    static void notifyPauseChanged(const QString &dataDirectory);

    static QString statusPath(const QString &dataDirectory);
    static QString controlPath(const QString &dataDirectory);

private:
    void writeStatus();
    void followStoredPause();

    MonitoringViewModel &m_monitoring;
    SettingsViewModel &m_state;
    Database &m_database;
    QString m_dataDirectory;
    MonitorLock m_lock;
    QFileSystemWatcher m_control;
    // The lock file of the process that watches, while this one waits.
    QFileSystemWatcher m_holder;
    QTimer m_statusWrite;
};

} // namespace Nomly
