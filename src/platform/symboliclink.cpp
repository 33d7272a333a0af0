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
    const QDir folder = info.absoluteDir();
    QString text = target;
    if (!current->startsWith('/')) {
        // A rename keeps the file in its folder, so the link's own words
        // with the new name still lead there, however the link's folder is
        // reached; a link by another way is made relative to the real folder.
        const QString written = QFile::decodeName(*current);
        const QString renamed = written.left(written.lastIndexOf(u'/') + 1) + QFileInfo(target).fileName();
        text = QFileInfo(folder.filePath(renamed)).canonicalFilePath() == target
            ? renamed
            : QDir(folder.canonicalPath()).relativeFilePath(target);
    }

    const QByteArray temporary = QFile::encodeName(
        folder.filePath(QStringLiteral(".nomly-link-%1").arg(QUuid::createUuid().toString(QUuid::Id128).left(8))));
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
