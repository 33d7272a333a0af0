#include "platform/symboliclink.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include <limits.h>
#include <unistd.h>

namespace Nomly {

namespace {

Failure linkFailure(int code, const QString &link)
{
    return Failure { QStringLiteral("The link \"%1\" could not be updated: %2")
                         .arg(link, QString::fromLocal8Bit(std::strerror(code))),
                     code };
}

// The link's own text, as written; none when `path` is no symbolic link.
std::optional<QByteArray> linkText(const QByteArray &path)
{
    QByteArray text(PATH_MAX, '\0');
    const ssize_t size = ::readlink(path.constData(), text.data(), size_t(text.size()));
    if (size < 0)
        return std::nullopt;
    text.truncate(size);
    return text;
}

} // namespace

Result<> SymbolicLink::retarget(const QString &link, const QString &target)
{
    const QByteArray linkPath = QFile::encodeName(link);
    const std::optional<QByteArray> current = linkText(linkPath);
    if (!current)
        return linkFailure(errno, link);
    const QFileInfo info(link);
    const QString text = current->startsWith('/') ? target : info.absoluteDir().relativeFilePath(target);

    const QByteArray temporary = QFile::encodeName(info.absoluteDir().filePath(
        QStringLiteral(".%1.%2").arg(info.fileName(), QUuid::createUuid().toString(QUuid::Id128).left(8))));
    if (::symlink(QFile::encodeName(text).constData(), temporary.constData()) != 0)
        return linkFailure(errno, link);
    if (std::rename(temporary.constData(), linkPath.constData()) != 0) {
        const int code = errno;
        ::unlink(temporary.constData());
        return linkFailure(code, link);
    }
    return {};
}

} // namespace Nomly
