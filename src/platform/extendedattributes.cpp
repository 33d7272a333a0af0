#include "platform/extendedattributes.h"

#include <QFile>
#include <cerrno>
#include <cstring>

#include <sys/xattr.h>

namespace Nomly {

namespace {

Failure errnoFailure(int code, const char *operation, const QString &path, const QByteArray &name = {})
{
    QString message = QStringLiteral("%1 of \"%2\" failed: %3")
                          .arg(QString::fromLatin1(operation), path, QString::fromLocal8Bit(std::strerror(code)));
    if (!name.isEmpty())
        message = QStringLiteral("%1 (attribute %2)").arg(message, QString::fromLatin1(name));
    return Failure { message, code };
}

// The attribute may grow between asking for its size and reading it; a few
// retries cover a writer racing us without looping forever.
constexpr int MaxSizeRetries = 4;

} // namespace

Result<std::optional<QByteArray>> ExtendedAttributes::read(const QString &path, const QByteArray &name)
{
    const QByteArray file = QFile::encodeName(path);
    for (int attempt = 0; attempt < MaxSizeRetries; ++attempt) {
        const ssize_t size = ::lgetxattr(file.constData(), name.constData(), nullptr, 0);
        if (size < 0)
            break;
        if (size == 0)
            return std::optional<QByteArray>(QByteArray(""));
        QByteArray value(size, Qt::Uninitialized);
        const ssize_t read = ::lgetxattr(file.constData(), name.constData(), value.data(), value.size());
        if (read >= 0) {
            value.truncate(read);
            return std::optional<QByteArray>(value);
        }
        if (errno != ERANGE)
            break;
    }
    if (errno == ENODATA)
        return std::optional<QByteArray>();
    return errnoFailure(errno, "Reading an attribute", path, name);
}

Result<> ExtendedAttributes::write(const QString &path, const QByteArray &name, const QByteArray &value)
{
    const QByteArray file = QFile::encodeName(path);
    if (::lsetxattr(file.constData(), name.constData(), value.constData(), value.size(), 0) != 0)
        return errnoFailure(errno, "Writing an attribute", path, name);
    return {};
}

Result<> ExtendedAttributes::remove(const QString &path, const QByteArray &name)
{
    const QByteArray file = QFile::encodeName(path);
    if (::lremovexattr(file.constData(), name.constData()) != 0 && errno != ENODATA)
        return errnoFailure(errno, "Removing an attribute", path, name);
    return {};
}

Result<QList<QByteArray>> ExtendedAttributes::names(const QString &path)
{
    const QByteArray file = QFile::encodeName(path);
    for (int attempt = 0; attempt < MaxSizeRetries; ++attempt) {
        const ssize_t size = ::llistxattr(file.constData(), nullptr, 0);
        if (size < 0)
            break;
        QByteArray buffer(size, Qt::Uninitialized);
        const ssize_t read = size == 0 ? 0 : ::llistxattr(file.constData(), buffer.data(), buffer.size());
        if (read >= 0) {
            QList<QByteArray> result;
            for (const QByteArray &entry : buffer.left(read).split('\0')) {
                if (!entry.isEmpty())
                    result.append(entry);
            }
            return result;
        }
        if (errno != ERANGE)
            break;
    }
    if (errno == ENOTSUP)
        return QList<QByteArray>();
    return errnoFailure(errno, "Listing attributes", path);
}

} // namespace Nomly
