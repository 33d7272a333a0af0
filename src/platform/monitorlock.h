#pragma once

#include <QLockFile>
#include <QString>
#include <optional>

namespace Nomly {

// Only one process watches a profile's folders: two watchers would both
// rename each new file. The process that watches holds a lock file in the
// data folder for as long as it runs; the kernel's end of a process (even by
// kill -9) frees it for the next one.
class MonitorLock final
{
public:
    struct Holder
    {
        qint64 pid = 0;
        QString program;
    };

    explicit MonitorLock(const QString &dataDirectory);
    ~MonitorLock();
    MonitorLock(const MonitorLock &) = delete;
    MonitorLock &operator=(const MonitorLock &) = delete;

    // True when this process now holds the lock, or held it already.
    bool tryLock();
    void unlock();

    bool isLocked() const { return m_file.isLocked(); }

    // The process that holds the lock, as it wrote itself down; none when no
    // live process holds it.
    std::optional<Holder> holder() const;

    static QString lockPath(const QString &dataDirectory);

private:
    QString m_path;
    mutable QLockFile m_file;
};

} // namespace Nomly
