#include "filesystemfixtures.h"

#include <QFile>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Nomly::Test {

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray attribute(const QString &path, const char *name, bool *present)
{
    QByteArray value(4096, Qt::Uninitialized);
    const ssize_t size = ::getxattr(QFile::encodeName(path).constData(), name, value.data(), value.size());
    if (present)
        *present = size >= 0;
    return size >= 0 ? value.left(size) : QByteArray();
}

bool setAttribute(const QString &path, const char *name, const QByteArray &value)
{
    return ::setxattr(QFile::encodeName(path).constData(), name, value.constData(), value.size(), 0) == 0;
}

namespace {

bool setImmutable(const QString &path, bool immutable)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    int flags = 0;
    bool done = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    if (done) {
        flags = immutable ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ::close(fd);
    return done;
}

} // namespace

LockedFolder::LockedFolder(const QString &path)
    : m_path(path)
{
    // Root ignores permission bits, so only the immutable flag stops it.
    if (::geteuid() == 0) {
        m_immutable = setImmutable(path, true);
        m_locked = m_immutable;
    } else {
        m_locked = ::chmod(QFile::encodeName(path).constData(), 0555) == 0;
    }
}

LockedFolder::~LockedFolder()
{
    if (m_immutable)
        setImmutable(m_path, false);
    else if (m_locked)
        ::chmod(QFile::encodeName(m_path).constData(), 0755);
}

AttributelessMount::AttributelessMount(const QString &path, Kind kind)
    : m_path(path)
{
    if (::geteuid() != 0) {
        m_reason = QStringLiteral("mounting a file system without extended attributes needs root");
        return;
    }
    if (::unshare(CLONE_NEWNS) != 0) {
        m_reason = QStringLiteral("no private mount namespace: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    // Keep our mounts from spreading back to the parent namespace.
    const char *type = kind == Kind::Small ? "tmpfs" : "ramfs";
    const char *options = kind == Kind::Small ? "size=512k" : nullptr;
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || ::mount(type, QFile::encodeName(path).constData(), type, 0, options) != 0) {
        m_reason = QStringLiteral("cannot mount %1: %2")
                       .arg(QLatin1StringView(type), QString::fromLocal8Bit(std::strerror(errno)));
    }
}

AttributelessMount::~AttributelessMount()
{
    if (m_reason.isEmpty())
        ::umount2(QFile::encodeName(m_path).constData(), MNT_DETACH);
}

} // namespace Nomly::Test
