#include "platform/filemover.h"

#include <QFile>
#include <QFileInfo>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/extendedattributes.h"

namespace Nomly {

namespace {

Failure moveFailure(int code, const QString &source, const QString &destination)
{
    return Failure { QStringLiteral("\"%1\" could not be moved to \"%2\": %3")
                         .arg(QFileInfo(source).fileName(), destination, QString::fromLocal8Bit(std::strerror(code))),
                     code };
}

// Closes a descriptor on every path out of the copy.
class FileDescriptor final
{
public:
    explicit FileDescriptor(int fd)
        : m_fd(fd)
    {}

    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }

    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    int get() const { return m_fd; }

    // Closing reports late write errors of some file systems, so the copy
    // checks it rather than leaving it to the destructor.
    bool close()
    {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

bool writeAll(int fd, const char *data, ssize_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= written;
    }
    return true;
}

// Copies the bytes, the user's attributes, the mode and the times of
// `source` to a new file at `destination`. Returns 0 or an errno value. The
// destination is created exclusively, so a file that appeared there meanwhile
// is never touched.
int copyRegularFile(const QByteArray &source, const QByteArray &destination, const struct stat &sourceStat)
{
    FileDescriptor in(::open(source.constData(), O_RDONLY | O_CLOEXEC));
    if (in.get() < 0)
        return errno;
    FileDescriptor out(
        ::open(destination.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, sourceStat.st_mode & 07777));
    if (out.get() < 0)
        return errno;

    // Bounded memory whatever the file's size.
    std::array<char, 256 * 1024> buffer;
    for (;;) {
        const ssize_t count = ::read(in.get(), buffer.data(), buffer.size());
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (count == 0)
            break;
        if (!writeAll(out.get(), buffer.data(), count))
            return errno;
    }

    const QString sourcePath = QFile::decodeName(source);
    const QString destinationPath = QFile::decodeName(destination);
    if (const auto names = ExtendedAttributes::names(sourcePath)) {
        for (const QByteArray &name : names.value()) {
            if (!name.startsWith("user."))
                continue;
            if (const auto value = ExtendedAttributes::read(sourcePath, name); value && value.value()) {
                // A destination without attributes still gets the bytes.
                const auto written = ExtendedAttributes::write(destinationPath, name, *value.value());
                if (!written && written.failure().code != ENOTSUP)
                    return written.failure().code;
            }
        }
    }

    const std::array<struct timespec, 2> times { sourceStat.st_atim, sourceStat.st_mtim };
    ::futimens(out.get(), times.data());
    if (::fsync(out.get()) != 0)
        return errno;

    struct stat copied
    {};

    if (::fstat(out.get(), &copied) != 0)
        return errno;
    if (copied.st_size != sourceStat.st_size)
        return EIO;
    if (!out.close())
        return errno;
    return 0;
}

Result<> moveAcrossFileSystems(const QString &source, const QString &destination)
{
    const QByteArray from = QFile::encodeName(source);
    const QByteArray to = QFile::encodeName(destination);

    struct stat sourceStat
    {};

    if (::lstat(from.constData(), &sourceStat) != 0)
        return moveFailure(errno, source, destination);
    if (!S_ISREG(sourceStat.st_mode))
        return moveFailure(EXDEV, source, destination);

    if (const int error = copyRegularFile(from, to, sourceStat); error != 0) {
        // Only reached after our exclusive create succeeded or failed; a file
        // that existed before (EEXIST) was never opened and stays.
        if (error != EEXIST)
            ::unlink(to.constData());
        return moveFailure(error, source, destination);
    }
    if (::unlink(from.constData()) != 0) {
        const int error = errno;
        // Two copies are better than none: keep the source, drop the copy.
        ::unlink(to.constData());
        return moveFailure(error, source, destination);
    }
    return {};
}

// For file systems without an atomic no-replace rename: a hard link refuses
// an existing name, and the old link goes once the new one stands.
Result<> moveByLink(const QString &source, const QString &destination)
{
    const QByteArray from = QFile::encodeName(source);
    const QByteArray to = QFile::encodeName(destination);
    if (::link(from.constData(), to.constData()) == 0) {
        if (::unlink(from.constData()) != 0) {
            const int error = errno;
            ::unlink(to.constData());
            return moveFailure(error, source, destination);
        }
        return {};
    }
    if (errno == EEXIST || errno == EXDEV)
        return errno == EXDEV ? moveAcrossFileSystems(source, destination) : moveFailure(EEXIST, source, destination);

    // Folders and file systems without hard links: check, then rename. The
    // window between the two is as small as the platform allows here.
    struct stat existing
    {};

    if (::lstat(to.constData(), &existing) == 0)
        return moveFailure(EEXIST, source, destination);
    if (::rename(from.constData(), to.constData()) != 0)
        return moveFailure(errno, source, destination);
    return {};
}

} // namespace

Result<> FileMover::move(const QString &source, const QString &destination)
{
    const QByteArray from = QFile::encodeName(source);
    const QByteArray to = QFile::encodeName(destination);
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return {};
    switch (errno) {
    case EXDEV:
        return moveAcrossFileSystems(source, destination);
    case EINVAL:
    case ENOSYS:
    case ENOTSUP:
        return moveByLink(source, destination);
    default:
        return moveFailure(errno, source, destination);
    }
}

} // namespace Nomly
