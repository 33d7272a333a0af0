#include "ai/aiimageartifactcache.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <algorithm>
#include <limits>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "content/imagecompressionservice.h"
#include "content/localmetadatatext.h"
#include "content/picturereader.h"
#include "content/textrecognizer.h"
#include "history/filehashservice.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// Raised whenever the key or the stored form changes, so that older entries
// simply stop matching.
const QString KeyPrefix = QStringLiteral("image-v3|");
const QString EntryKeyKey = QStringLiteral("key");
const QString EntryArtifactKey = QStringLiteral("artifact");

QString standardisedPath(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

std::optional<QString> recognizedText(const QImage &image)
{
    if (image.isNull())
        return std::nullopt;
    return TextRecognizer::recognize(image);
}

// Text in the file itself, read at its own resolution where it can be decoded.
std::optional<QString> recognizedTextInFile(const QString &path)
{
    const Result<QImage> picture = PictureReader::read(path);
    return picture ? recognizedText(picture.value()) : std::nullopt;
}

std::optional<QString> trimmedOrNone(const std::optional<QString> &text)
{
    if (!text)
        return std::nullopt;
    QString trimmed = text->trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

std::optional<PreparedImageAnalysisArtifact> readEntry(const QString &directory, const QString &key)
{
    QFile file(directory + u'/' + AIImageArtifactCache::diskFileName(key));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    const QJsonObject entry = document.object();
    const QJsonValue storedKey = entry.value(EntryKeyKey);
    const QJsonValue artifactJson = entry.value(EntryArtifactKey);
    // Two keys can share a name only by a hash collision or a hand-edited
    // file; either way the content is not the one asked for.
    if (!storedKey.isString() || storedKey.toString() != key || !artifactJson.isObject())
        return std::nullopt;
    auto artifact = preparedImageAnalysisArtifactFromJson(artifactJson.toObject());
    if (!artifact)
        return std::nullopt;
    // A read counts as a use, so that pruning removes what is not read.
    file.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
    return artifact;
}

struct DiskFile
{
    QString path;
    qint64 size = 0;
    qint64 modifiedAt = 0; // milliseconds since 1970
};

void prune(const QString &directory, const AIImageArtifactCache::Limits &limits)
{
    const QDir folder(directory);
    if (!folder.exists())
        return;
    QList<DiskFile> files;
    const QFileInfoList entries = folder.entryInfoList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const QDateTime modified = entry.lastModified();
        files.append({ entry.absoluteFilePath(),
                       std::max<qint64>(entry.size(), 0),
                       modified.isValid() ? modified.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min() });
    }
    std::stable_sort(
        files.begin(), files.end(), [](const DiskFile &a, const DiskFile &b) { return a.modifiedAt < b.modifiedAt; });

    qint64 totalBytes = 0;
    for (const DiskFile &file : std::as_const(files))
        totalBytes += file.size;
    qsizetype remaining = files.size();
    for (const DiskFile &file : std::as_const(files)) {
        if (remaining <= limits.maxDiskItems && totalBytes <= limits.maxDiskBytes)
            break;
        // A file that will not go is still counted as gone: the next write
        // tries again, and a stuck file must not empty the whole folder.
        QFile::remove(file.path);
        totalBytes -= file.size;
        --remaining;
    }
}

void writeEntry(const QString &directory,
                const QString &key,
                const PreparedImageAnalysisArtifact &artifact,
                const AIImageArtifactCache::Limits &limits)
{
    const QJsonObject entry { { EntryKeyKey, key }, { EntryArtifactKey, toJson(artifact) } };
    QSaveFile file(directory + u'/' + AIImageArtifactCache::diskFileName(key));
    const bool written = QDir().mkpath(directory) && file.open(QIODevice::WriteOnly)
        && file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact)) >= 0 && file.commit();
    if (!written) {
        qCWarning(lcAI).noquote() << "Failed to persist AI image artifact cache entry" << file.errorString();
        return;
    }
    prune(directory, limits);
}

} // namespace

AIImageArtifactCache::AIImageArtifactCache(std::optional<QString> diskDirectory)
    : AIImageArtifactCache(std::move(diskDirectory), Limits {})
{}

AIImageArtifactCache::AIImageArtifactCache(std::optional<QString> diskDirectory, Limits limits)
    : m_diskDirectory(std::move(diskDirectory))
    , m_limits(limits)
{
    m_diskThread.setMaxThreadCount(1);
}

AIImageArtifactCache::~AIImageArtifactCache()
{
    m_diskThread.waitForDone();
}

std::optional<QString> AIImageArtifactCache::defaultDiskDirectory()
{
    // Read directly: in Qt's test mode the standard paths ignore XDG, and
    // tests point the cache into their own temporary folder.
    QString base = qEnvironmentVariable("XDG_CACHE_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (base.isEmpty())
        return std::nullopt;
    return base + QStringLiteral("/Nomly/AIImageArtifacts");
}

QString AIImageArtifactCache::cacheKey(const QString &path, const QString &identity, int targetSize, double quality)
{
    return KeyPrefix + QString::number(targetSize) + u'|' + QString::asprintf("%.3f", quality) + u'|'
        + standardisedPath(path) + u'|' + identity;
}

std::optional<QString> AIImageArtifactCache::identity(const QString &path, const std::optional<QString> &contentHash)
{
    // An empty hash would make every version of the file at this path one
    // entry, so it counts as none.
    if (contentHash && !contentHash->isEmpty())
        return QStringLiteral("content:") + *contentHash;
    if (const auto hash = FileHashService::hash(path))
        return QStringLiteral("content:") + *hash;

    const QFileInfo info(path);
    const QString size = info.exists() ? QString::number(info.size()) : QStringLiteral("unknown");
    const QDateTime modified = info.lastModified();
    const QString modifiedAt = modified.isValid()
        ? QString::fromLatin1(FileHashService::modificationTimeText(double(modified.toMSecsSinceEpoch()) / 1000.0))
        : QStringLiteral("unknown");
    return QStringLiteral("resource:") + standardisedPath(path) + u'|' + size + u'|' + modifiedAt;
}

QString AIImageArtifactCache::diskFileName(const QString &key)
{
    return QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256).toHex())
        + QStringLiteral(".json");
}

std::optional<PreparedImageAnalysisArtifact> AIImageArtifactCache::lookupInMemory(const QString &key)
{
    const auto found = m_storage.constFind(key);
    if (found == m_storage.cend())
        return std::nullopt;
    m_order.removeOne(key);
    m_order.append(key);
    return *found;
}

void AIImageArtifactCache::storeInMemory(const QString &key, const PreparedImageAnalysisArtifact &artifact)
{
    const auto previous = m_storage.constFind(key);
    if (previous != m_storage.cend())
        m_totalBytes -= previous->data.size();
    m_storage.insert(key, artifact);
    m_totalBytes += artifact.data.size();
    m_order.removeOne(key);
    m_order.append(key);
    evict();
}

void AIImageArtifactCache::evict()
{
    while ((m_storage.size() > m_limits.maxItems || m_totalBytes > m_limits.maxBytes) && !m_order.isEmpty()) {
        const QString oldest = m_order.takeFirst();
        const auto entry = m_storage.constFind(oldest);
        if (entry == m_storage.cend())
            continue;
        m_totalBytes -= entry->data.size();
        m_storage.erase(entry);
    }
}

QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> AIImageArtifactCache::readFromDisk(QString key)
{
    if (!m_diskDirectory)
        co_return std::nullopt;
    auto reading
        = QtConcurrent::run(&m_diskThread, [directory = *m_diskDirectory, key] { return readEntry(directory, key); });
    co_return co_await reading;
}

QCoro::Task<> AIImageArtifactCache::writeToDisk(QString key, PreparedImageAnalysisArtifact artifact)
{
    if (!m_diskDirectory)
        co_return;
    auto writing = QtConcurrent::run(
        &m_diskThread, [directory = *m_diskDirectory, key, artifact = std::move(artifact), limits = m_limits] {
            writeEntry(directory, key, artifact, limits);
        });
    co_await writing;
}

QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> AIImageArtifactCache::prepare(
    QString path, std::optional<QString> contentHash, int targetSize, double quality)
{
    // A vanished file has nothing to look up; the build reports it.
    std::optional<QString> key;
    if (QFileInfo::exists(path)) {
        std::optional<QString> identity;
        if (contentHash && !contentHash->isEmpty()) {
            identity = AIImageArtifactCache::identity(path, contentHash);
        } else {
            auto hashing = QtConcurrent::run([path] { return AIImageArtifactCache::identity(path, std::nullopt); });
            identity = co_await hashing;
        }
        if (identity)
            key = cacheKey(path, *identity, targetSize, quality);
    }

    if (key) {
        if (auto hit = lookupInMemory(*key))
            co_return hit;
        auto reading = readFromDisk(*key);
        if (auto hit = co_await reading) {
            storeInMemory(*key, *hit);
            co_return hit;
        }
    }

    auto building = build(path, targetSize, quality);
    std::optional<PreparedImageAnalysisArtifact> artifact = co_await building;
    if (artifact && key) {
        storeInMemory(*key, *artifact);
        auto writing = writeToDisk(*key, *artifact);
        co_await writing;
    }
    co_return artifact;
}

QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> AIImageArtifactCache::build(QString path,
                                                                                      int targetSize,
                                                                                      double quality)
{
    // The three are independent and each slow in its own way, so they run
    // side by side.
    auto imaging = QtConcurrent::run(
        [path, targetSize, quality] { return ImageCompressionService::loadImage(path, targetSize, quality); });
    auto recognizing = QtConcurrent::run([path] { return recognizedTextInFile(path); });
    auto describing = QtConcurrent::run([path] { return localMetadataText(path); });
    const std::optional<QByteArray> data = co_await imaging;
    std::optional<QString> text = co_await recognizing;
    const std::optional<QString> metadata = co_await describing;
    if (!data)
        co_return std::nullopt;

    // Formats Qt cannot decode still have a readable JPEG by now.
    if (!text || text->isEmpty()) {
        auto recognizingJpeg
            = QtConcurrent::run([jpeg = *data] { return recognizedText(QImage::fromData(jpeg, "JPEG")); });
        text = co_await recognizingJpeg;
    }
    co_return PreparedImageAnalysisArtifact { *data, text, trimmedOrNone(metadata) };
}

} // namespace Nomly
