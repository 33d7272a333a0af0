#include "ai/filesecretstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/datalocations.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

constexpr mode_t OwnerOnly = S_IRUSR | S_IWUSR;

// The file maps each service to an object of accounts, each value in base64
// so that any bytes survive.
using Entries = QJsonObject;

Failure refused(const QString &message)
{
    return Failure { message, static_cast<int>(SecretStoreFailure::Refused) };
}

QString systemError(const QString &what, const QString &path)
{
    return what + QStringLiteral(" ") + path + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
}

// Holds an exclusive lock on a file beside the secrets for one
// read-modify-write, so that the command line and the desktop program saving
// at the same moment cannot drop each other's key. The mutex of the store
// already keeps threads of one process apart.
class CrossProcessLock final
{
public:
    explicit CrossProcessLock(const QString &secretsPath)
    {
        QDir().mkpath(QFileInfo(secretsPath).absolutePath());
        m_fd = ::open(QFile::encodeName(secretsPath + QStringLiteral(".lock")).constData(),
                      O_RDWR | O_CREAT | O_CLOEXEC,
                      OwnerOnly);
        if (m_fd >= 0 && ::flock(m_fd, LOCK_EX) != 0) {
            ::close(m_fd);
            m_fd = -1;
        }
    }

    ~CrossProcessLock()
    {
        if (m_fd >= 0)
            ::close(m_fd); // releases the lock
    }

    CrossProcessLock(const CrossProcessLock &) = delete;
    CrossProcessLock &operator=(const CrossProcessLock &) = delete;

private:
    int m_fd = -1;
};

// A missing file holds nothing. A file others may read is narrowed to the
// owner before anything is taken from it.
Result<Entries> loadEntries(const QString &path)
{
    const QByteArray nativePath = QFile::encodeName(path);
    const int fd = ::open(nativePath.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
        // ENOTDIR: a path component is a file, so no secrets file can be there.
        if (errno == ENOENT || errno == ENOTDIR) {
            return Entries {};
        }
        return refused(systemError(QStringLiteral("Cannot open secrets file"), path));
    }

    struct stat status
    {};

    if (::fstat(fd, &status) == 0 && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        qCWarning(lcConfig) << "Secrets file was readable by others; restricting it to its owner:" << path;
        ::fchmod(fd, OwnerOnly);
    }
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return refused(QStringLiteral("Cannot read secrets file ") + path);
    }
    const QByteArray bytes = file.readAll();
    if (bytes.trimmed().isEmpty()) {
        return Entries {};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return refused(QStringLiteral("Secrets file is damaged: ") + path);
    }
    return document.object();
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t step = ::write(fd, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (step < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        written += step;
    }
    return true;
}

// mkstemp creates the temporary file with mode 0600, so the secrets are never
// readable by others, not even between creation and rename.
Result<> storeEntries(const QString &path, const Entries &entries)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        return refused(QStringLiteral("Cannot create folder ") + folder);
    }
    QByteArray temporaryPath = QFile::encodeName(path) + QByteArrayLiteral(".XXXXXX");
    const int fd = ::mkostemp(temporaryPath.data(), O_CLOEXEC);
    if (fd < 0) {
        return refused(systemError(QStringLiteral("Cannot create a temporary file beside"), path));
    }
    const QByteArray bytes = QJsonDocument(entries).toJson(QJsonDocument::Indented);
    QString message;
    if (::fchmod(fd, OwnerOnly) != 0 || !writeAll(fd, bytes) || ::fsync(fd) != 0) {
        message = systemError(QStringLiteral("Cannot write secrets file"), path);
    }
    ::close(fd);
    if (message.isEmpty() && ::rename(temporaryPath.constData(), QFile::encodeName(path).constData()) != 0) {
        message = systemError(QStringLiteral("Cannot replace secrets file"), path);
    }
    if (!message.isEmpty()) {
        ::unlink(temporaryPath.constData());
        return refused(message);
    }
    return {};
}

} // namespace

FileSecretStore::FileSecretStore(QString filePath)
    : m_filePath(std::move(filePath))
{}

QString FileSecretStore::defaultFilePath()
{
    return DataLocations::configDirectory() + QStringLiteral("/secrets.json");
}

QCoro::Task<Result<std::optional<QByteArray>>> FileSecretStore::read(QString service, QString account)
{
    QMutexLocker locker(&m_mutex);
    const Result<Entries> entries = loadEntries(m_filePath);
    if (!entries) {
        co_return entries.failure();
    }
    const QJsonValue value = entries.value().value(service).toObject().value(account);
    if (!value.isString()) {
        co_return std::optional<QByteArray> {};
    }
    co_return std::optional<QByteArray> { QByteArray::fromBase64(value.toString().toLatin1()) };
}

QCoro::Task<Result<>> FileSecretStore::write(QString service, QString account, QByteArray value)
{
    QMutexLocker locker(&m_mutex);
    const CrossProcessLock processLock(m_filePath);
    Result<Entries> entries = loadEntries(m_filePath);
    if (!entries) {
        co_return entries.failure();
    }
    QJsonObject accounts = entries.value().value(service).toObject();
    accounts.insert(account, QString::fromLatin1(value.toBase64()));
    entries.value().insert(service, accounts);
    co_return storeEntries(m_filePath, entries.value());
}

QCoro::Task<Result<>> FileSecretStore::remove(QString service, QString account)
{
    QMutexLocker locker(&m_mutex);
    const CrossProcessLock processLock(m_filePath);
    Result<Entries> entries = loadEntries(m_filePath);
    if (!entries) {
        co_return entries.failure();
    }
    QJsonObject accounts = entries.value().value(service).toObject();
    if (!accounts.contains(account)) {
        co_return Result<> {};
    }
    accounts.remove(account);
    if (accounts.isEmpty()) {
        entries.value().remove(service);
    } else {
        entries.value().insert(service, accounts);
    }
    co_return storeEntries(m_filePath, entries.value());
}

} // namespace Nomly
