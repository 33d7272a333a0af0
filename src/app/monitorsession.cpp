#include "app/monitorsession.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include "app/settingsviewmodel.h"
#include "history/database.h"
#include "platform/logcategories.h"
#include "workflows/monitoringviewmodel.h"

namespace Nomly {

namespace {

// Status readers want the files that wait, not every change of a burst.
constexpr std::chrono::milliseconds StatusWriteDelay { 200 };

} // namespace

MonitorSession::MonitorSession(MonitoringViewModel &monitoring,
                               SettingsViewModel &state,
                               Database &database,
                               QString dataDirectory,
                               QObject *parent)
    : QObject(parent)
    , m_monitoring(monitoring)
    , m_state(state)
    , m_database(database)
    , m_dataDirectory(std::move(dataDirectory))
    , m_lock(m_dataDirectory)
{
    m_statusWrite.setSingleShot(true);
    m_statusWrite.setInterval(StatusWriteDelay);
    connect(&m_statusWrite, &QTimer::timeout, this, &MonitorSession::writeStatus);
    connect(&m_control, &QFileSystemWatcher::fileChanged, this, &MonitorSession::followStoredPause);
    // The lock file goes when its process ends cleanly.
    connect(&m_holder, &QFileSystemWatcher::fileChanged, this, [this] {
        if (!isActive() && begin())
            qCInfo(lcFileWatcher) << "Monitor taken over from the process that watched before";
    });
}

MonitorSession::~MonitorSession()
{
    end();
}

QString MonitorSession::statusPath(const QString &dataDirectory)
{
    return QDir(dataDirectory).filePath(QStringLiteral("monitor-status.json"));
}

QString MonitorSession::controlPath(const QString &dataDirectory)
{
    return QDir(dataDirectory).filePath(QStringLiteral("monitor.control"));
}

bool MonitorSession::begin()
{
    if (isActive())
        return true;
    if (!m_lock.tryLock()) {
        const QString lock = MonitorLock::lockPath(m_dataDirectory);
        if (!m_holder.files().contains(lock))
            m_holder.addPath(lock);
        return false;
    }
    if (!m_holder.files().isEmpty())
        m_holder.removePaths(m_holder.files());
    QFile control(controlPath(m_dataDirectory));
    if (control.open(QIODevice::Append))
        control.close();
    m_control.addPath(control.fileName());
    // At most one write per delay, also while a burst keeps changing it.
    connect(&m_monitoring, &MonitoringViewModel::stateChanged, &m_statusWrite, [this] {
        if (!m_statusWrite.isActive())
            m_statusWrite.start();
    });
    // Another process may have stored a pause while none watched.
    followStoredPause();
    m_monitoring.startWatching();
    writeStatus();
    return true;
}

void MonitorSession::end()
{
    if (!isActive())
        return;
    disconnect(&m_monitoring, nullptr, &m_statusWrite, nullptr);
    m_statusWrite.stop();
    if (!m_control.files().isEmpty())
        m_control.removePaths(m_control.files());
    m_monitoring.stopWatching();
    QFile::remove(statusPath(m_dataDirectory));
    m_lock.unlock();
}

void MonitorSession::writeStatus()
{
    if (!isActive())
        return;
    MonitorStatus status;
    status.pid = QCoreApplication::applicationPid();
    status.program = QCoreApplication::applicationName();
    status.paused = m_monitoring.isPaused();
    status.watching = m_monitoring.isWatching();
    status.folders = m_monitoring.watchedFolders();
    status.unavailableFolders = QStringList(m_monitoring.unavailableWatchedFolders().cbegin(),
                                            m_monitoring.unavailableWatchedFolders().cend());
    status.unavailableFolders.sort();
    status.waiting = m_monitoring.queue().waitingPaths();
    status.processing = m_monitoring.queue().currentBatch();
    status.processedInSession = m_monitoring.queue().processedCount();
    QSaveFile file(statusPath(m_dataDirectory));
    if (!file.open(QIODevice::WriteOnly) || file.write(status.toJson()) < 0 || !file.commit())
        qCWarning(lcFileWatcher).noquote() << "Could not write the Monitor status:" << file.errorString();
}

void MonitorSession::followStoredPause()
{
    // A file replaced rather than written is no longer watched.
    const QString control = controlPath(m_dataDirectory);
    if (!m_control.files().contains(control) && QFile::exists(control))
        m_control.addPath(control);
    const auto stored = m_database.loadSettings();
    if (!stored.ok() || !stored.value())
        return;
    const bool paused = stored.value()->monitoringPaused;
    Settings settings = m_state.settings();
    if (settings.monitoringPaused != paused) {
        settings.monitoringPaused = paused;
        m_state.setSettings(settings);
    }
    m_monitoring.setPaused(paused);
}

std::optional<MonitorStatus> MonitorSession::readStatus(const QString &dataDirectory)
{
    const MonitorLock lock(dataDirectory);
    const std::optional<MonitorLock::Holder> holder = lock.holder();
    if (!holder)
        return std::nullopt;
    QFile file(statusPath(dataDirectory));
    std::optional<MonitorStatus> status;
    if (file.open(QIODevice::ReadOnly))
        status = MonitorStatus::fromJson(file.readAll());
    if (!status || status->pid != holder->pid) {
        // The holder has not written its status yet.
        status = MonitorStatus();
        status->pid = holder->pid;
        status->program = holder->program;
    }
    return status;
}

void MonitorSession::notifyPauseChanged(const QString &dataDirectory)
{
    QFile control(controlPath(dataDirectory));
    if (!control.exists() || !control.open(QIODevice::Append))
        return;
    control.write(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toUtf8() + '\n');
}

} // namespace Nomly
