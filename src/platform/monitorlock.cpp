#include "platform/monitorlock.h"

#include <QDir>
#include <QFileInfo>
#include <cerrno>

#include <signal.h>

namespace Nomly {

MonitorLock::MonitorLock(const QString &dataDirectory)
    : m_path(lockPath(dataDirectory))
    , m_file(m_path)
{
    // A lock is never given up for its age, only when its process is gone:
    // a watcher may run for months.
    m_file.setStaleLockTime(0);
}

MonitorLock::~MonitorLock()
{
    unlock();
}

QString MonitorLock::lockPath(const QString &dataDirectory)
{
    return QDir(dataDirectory).filePath(QStringLiteral("monitor.lock"));
}

bool MonitorLock::tryLock()
{
    if (m_file.isLocked())
        return true;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    if (m_file.tryLock(0))
        return true;
    // A lock left by a process that is gone is taken over.
    if (m_file.error() == QLockFile::LockFailedError && !holder()) {
        m_file.removeStaleLockFile();
        return m_file.tryLock(0);
    }
    return false;
}

void MonitorLock::unlock()
{
    if (m_file.isLocked())
        m_file.unlock();
}

std::optional<MonitorLock::Holder> MonitorLock::holder() const
{
    qint64 pid = 0;
    QString hostname;
    QString program;
    QLockFile probe(m_path);
    if (!probe.getLockInfo(&pid, &hostname, &program) || pid <= 0)
        return std::nullopt;
    if (::kill(pid_t(pid), 0) != 0 && errno == ESRCH)
        return std::nullopt;
    return Holder { pid, program };
}

} // namespace Nomly
