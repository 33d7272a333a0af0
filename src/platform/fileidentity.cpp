#include "platform/fileidentity.h"

#include <QFile>

#include <sys/stat.h>

namespace Nomly {

namespace {

std::optional<struct stat> entryStatus(const QString &path)
{
    struct stat status
    {};

    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return status;
}

} // namespace

std::optional<FileIdentity> FileIdentity::of(const QString &path)
{
    const auto status = entryStatus(path);
    if (!status)
        return std::nullopt;
    return FileIdentity { quint64(status->st_dev),
                          quint64(status->st_ino),
                          qint64(status->st_size),
                          qint64(status->st_mtim.tv_sec) * 1'000'000'000 + status->st_mtim.tv_nsec };
}

bool leadsToRegularFile(const QString &path)
{
    struct stat status
    {};

    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

bool mayBlockOnRead(const QString &path)
{
    struct stat status
    {};

    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return false;
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
}

bool isRegularFile(const QString &path)
{
    const auto status = entryStatus(path);
    return status && S_ISREG(status->st_mode);
}

} // namespace Nomly
