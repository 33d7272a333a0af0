#include "platform/processmark.h"

#include <QFile>
#include <QStringList>

#include <unistd.h>

namespace Nomly {

namespace {

QByteArray readSmallFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.read(4096);
}

QString bootId()
{
    static const QString id
        = QString::fromLatin1(readSmallFile(QStringLiteral("/proc/sys/kernel/random/boot_id"))).trimmed();
    return id;
}

// Field 22 of /proc/PID/stat, in clock ticks since boot. The command name
// (field 2) may hold spaces and parentheses, so fields are counted after its
// closing parenthesis.
QString startTime(qint64 pid)
{
    const QByteArray stat = readSmallFile(QStringLiteral("/proc/%1/stat").arg(pid));
    const qsizetype nameEnd = stat.lastIndexOf(')');
    if (nameEnd < 0)
        return {};
    const QList<QByteArray> fields = stat.mid(nameEnd + 2).split(' ');
    // Field 3 (state) is the first after the name; field 22 is 19 further on.
    return fields.size() > 19 ? QString::fromLatin1(fields.at(19)) : QString();
}

} // namespace

QString ProcessMark::current()
{
    const qint64 pid = ::getpid();
    return QStringLiteral("%1:%2:%3").arg(bootId()).arg(pid).arg(startTime(pid));
}

bool ProcessMark::isRunning(const QString &mark)
{
    const QStringList parts = mark.split(u':');
    if (parts.size() != 3 || parts.at(0) != bootId())
        return false;
    bool numeric = false;
    const qint64 pid = parts.at(1).toLongLong(&numeric);
    if (!numeric || pid <= 0)
        return false;
    // A mark made without a readable start time cannot be told apart from a
    // later process with the same id; it counts as running while the id does.
    const QString started = startTime(pid);
    if (parts.at(2).isEmpty())
        return QFile::exists(QStringLiteral("/proc/%1").arg(pid));
    return !started.isEmpty() && started == parts.at(2);
}

} // namespace Nomly
