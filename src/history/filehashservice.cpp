#include "history/filehashservice.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/logcategories.h"

namespace Nomly {

namespace {

struct DigestDeleter
{
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

// One SHA-256 over the pieces fed to it, with no separators between them,
// and the one read buffer every file of a hash shares.
class Digest
{
public:
    Digest()
        : m_context(EVP_MD_CTX_new())
        , m_buffer(std::make_unique<char[]>(FileHashService::ChunkSize))
    {
        m_ok = m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1;
    }

    void feed(const void *data, size_t size) { m_ok = m_ok && EVP_DigestUpdate(m_context.get(), data, size) == 1; }

    void feed(const QByteArray &bytes) { feed(bytes.constData(), static_cast<size_t>(bytes.size())); }

    void feedText(const QString &text) { feed(text.toUtf8()); }

    // The item's modification time, or nothing when it has none.
    void feedModificationTime(const struct stat &info)
    {
        const double seconds
            = static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
        feed(FileHashService::modificationTimeText(seconds));
    }

    // The file's bytes in bounded chunks; false, logged, when it cannot be
    // opened or read.
    bool feedContent(const QString &path)
    {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            qCCritical(lcProcessing).noquote()
                << QStringLiteral("FileHashService: Failed to create stream for file at ") + path;
            return false;
        }
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        bool read = true;
        for (;;) {
            const ssize_t count = ::read(fd, m_buffer.get(), FileHashService::ChunkSize);
            if (count == 0)
                break;
            if (count < 0) {
                if (errno == EINTR)
                    continue;
                const QString reason = QString::fromLocal8Bit(strerror(errno));
                qCCritical(lcProcessing).noquote() << QStringLiteral("FileHashService: Failed to read file at ") + path
                        + u": " + (reason.isEmpty() ? QStringLiteral("unknown stream error") : reason);
                read = false;
                break;
            }
            feed(m_buffer.get(), static_cast<size_t>(count));
        }
        ::close(fd);
        return read;
    }

    std::optional<QString> finish()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest {};
        unsigned int length = 0;
        if (!m_ok || EVP_DigestFinal_ex(m_context.get(), digest.data(), &length) != 1)
            return std::nullopt;
        return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(digest.data()), length).toHex());
    }

private:
    std::unique_ptr<EVP_MD_CTX, DigestDeleter> m_context;
    std::unique_ptr<char[]> m_buffer;
    bool m_ok = false;
};

// lstat: a symbolic link is judged as itself, never as what it points to.
std::optional<struct stat> itemStatus(const QString &path)
{
    struct stat info
    {};

    if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return info;
}

std::optional<QString> fileHash(const QString &path, const struct stat &info)
{
    Digest digest;
    if (!digest.feedContent(path))
        return std::nullopt;
    digest.feedModificationTime(info);
    return digest.finish();
}

std::optional<QString> bundleHash(const QString &root, const struct stat &rootInfo)
{
    const QString rootPath = QDir::cleanPath(QFileInfo(root).absoluteFilePath());
    if (::access(QFile::encodeName(rootPath).constData(), R_OK | X_OK) != 0) {
        qCCritical(lcProcessing).noquote()
            << QStringLiteral("FileHashService: Failed to enumerate directory at ") + rootPath;
        return std::nullopt;
    }
    // Hidden entries and the insides of nested bundles count; links are
    // never followed.
    QStringList entries;
    QDirIterator it(
        rootPath, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QString relative = QDir::cleanPath(it.next());
        if (relative.startsWith(rootPath))
            relative = relative.mid(rootPath.size());
        while (relative.startsWith(u'/'))
            relative.remove(0, 1);
        while (relative.endsWith(u'/'))
            relative.chop(1);
        entries.append(relative);
    }
    // The file system's order has no say.
    std::sort(entries.begin(), entries.end());

    Digest digest;
    digest.feedText(QStringLiteral("D:") + QFileInfo(rootPath).fileName());
    digest.feedModificationTime(rootInfo);
    for (const QString &relative : std::as_const(entries)) {
        const QString path = rootPath + u'/' + relative;
        const auto info = itemStatus(path);
        if (!info)
            continue;
        if (S_ISDIR(info->st_mode)) {
            digest.feedText(QStringLiteral("D:") + relative);
            digest.feedModificationTime(*info);
        } else if (S_ISREG(info->st_mode)) {
            digest.feedText(QStringLiteral("F:") + relative);
            if (!digest.feedContent(path))
                return std::nullopt;
            digest.feedModificationTime(*info);
        }
    }
    return digest.finish();
}

} // namespace

// A worker thread's OpenSSL state is let go when its hash is done: the
// pool's threads may still be alive when the program ends, and their state
// would be left behind then.
static void releaseThreadState()
{
    const QCoreApplication *application = QCoreApplication::instance();
    if (application && QThread::currentThread() != application->thread())
        OPENSSL_thread_stop();
}

std::optional<QString> FileHashService::hash(const QString &path)
{
    std::optional<QString> value = hashOf(path);
    releaseThreadState();
    return value;
}

std::optional<QString> FileHashService::hashOf(const QString &path)
{
    // The item itself may be reached through a link, as a user's selection
    // can be; only links inside a bundle are passed over.
    struct stat info
    {};

    if (::stat(QFile::encodeName(path).constData(), &info) != 0) {
        // Nothing there is no folder, so it fails as a file would.
        qCCritical(lcProcessing).noquote()
            << QStringLiteral("FileHashService: Failed to create stream for file at ") + path;
        return std::nullopt;
    }
    if (S_ISDIR(info.st_mode))
        return bundleHash(path, info);
    // A pipe would block and a device never end.
    if (!S_ISREG(info.st_mode)) {
        qCCritical(lcProcessing).noquote()
            << QStringLiteral("FileHashService: Failed to create stream for file at ") + path;
        return std::nullopt;
    }
    return fileHash(path, info);
}

QHash<QString, QString> FileHashService::hashes(const QStringList &paths)
{
    QHash<QString, QString> found;
    for (const QString &path : paths) {
        if (const auto value = hashOf(path))
            found.insert(path, *value);
    }
    releaseThreadState();
    return found;
}

QByteArray FileHashService::modificationTimeText(double secondsSinceEpoch)
{
    std::array<char, 64> text {};
    const auto [end, error]
        = std::to_chars(text.data(), text.data() + text.size(), secondsSinceEpoch, std::chars_format::fixed);
    if (error != std::errc())
        return {};
    QByteArray out(text.data(), end - text.data());
    if (!out.contains('.'))
        out.append(".0");
    return out;
}

} // namespace Nomly
