#pragma once

#include <QHash>
#include <QString>
#include <QThreadPool>
#include <optional>

#include <qcoro/qcorotask.h>

#include "ai/preparedimageanalysisartifact.h"

namespace Nomly {

// Keeps what an image costs to prepare, in memory and in a folder of JSON
// files, so that a second analysis of the same picture at the same size
// skips rendering, recognition and, with a known content hash, hashing.
//
// One per process. Its memory tier belongs to the thread that made it, and
// every call comes from that thread, so it needs no lock; files are read and
// written one at a time on a disk thread of its own, and the slow work runs
// on the global pool. Nothing here fails a caller: any fault in the cache
// degrades to a miss or to a skipped write.
class AIImageArtifactCache final
{
public:
    struct Limits
    {
        int maxItems = 48;
        qint64 maxBytes = 64 * 1024 * 1024;
        int maxDiskItems = 192;
        qint64 maxDiskBytes = 256 * 1024 * 1024;
    };

    // Without a folder, only the memory tier is kept.
    explicit AIImageArtifactCache(std::optional<QString> diskDirectory);
    AIImageArtifactCache(std::optional<QString> diskDirectory, Limits limits);
    ~AIImageArtifactCache();

    AIImageArtifactCache(const AIImageArtifactCache &) = delete;
    AIImageArtifactCache &operator=(const AIImageArtifactCache &) = delete;

    // "Nomly/AIImageArtifacts" in the user's cache folder; $XDG_CACHE_HOME
    // wins even where Qt's test mode would look elsewhere. None when the
    // folder cannot be resolved.
    static std::optional<QString> defaultDiskDirectory();

    // The JPEG of the image at `targetSize` with its recognised text and
    // metadata text, from the cache or freshly made and then stored. None
    // when no picture could be made of the file.
    QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> prepare(QString path,
                                                                      std::optional<QString> contentHash,
                                                                      int targetSize,
                                                                      double quality);

    // What the entry is found under: the same content at another path, size
    // or quality is another entry.
    static QString cacheKey(const QString &path, const QString &identity, int targetSize, double quality);
    // "content:" and the hash when one is known or can be made, else the
    // path, size and modification time of the file. Reads the whole file:
    // call it off the owner thread.
    static std::optional<QString> identity(const QString &path, const std::optional<QString> &contentHash);
    // The file of an entry inside the folder.
    static QString diskFileName(const QString &key);

    // The two tiers one by one; prepare() uses nothing else.
    std::optional<PreparedImageAnalysisArtifact> lookupInMemory(const QString &key);
    void storeInMemory(const QString &key, const PreparedImageAnalysisArtifact &artifact);
    QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> readFromDisk(QString key);
    QCoro::Task<> writeToDisk(QString key, PreparedImageAnalysisArtifact artifact);

    int memoryItemCount() const { return int(m_storage.size()); }

    qint64 memoryByteCount() const { return m_totalBytes; }

    const std::optional<QString> &diskDirectory() const { return m_diskDirectory; }

private:
    QCoro::Task<std::optional<PreparedImageAnalysisArtifact>> build(QString path, int targetSize, double quality);
    void evict();

    const std::optional<QString> m_diskDirectory;
    const Limits m_limits;
    QHash<QString, PreparedImageAnalysisArtifact> m_storage;
    QStringList m_order; // least recently used first
    qint64 m_totalBytes = 0; // of the JPEGs only
    // One thread, so that reads, writes and pruning never overlap.
    QThreadPool m_diskThread;
};

} // namespace Nomly
