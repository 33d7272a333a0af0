#pragma once

#include <QHash>
#include <QImage>
#include <QString>
#include <list>
#include <optional>

namespace Nomly {

// The small previews of a batch's files, by path, within two bounds: a count
// of entries and the bytes their pixels take. When either is passed, the
// entries used longest ago go first, so that a long session of large batches
// keeps a steady footprint. A null image is kept too: it says the file has no
// preview, so that it is not read again. Main thread only.
class ThumbnailCache final
{
public:
    static constexpr int DefaultMaxCount = 160;
    static constexpr qint64 DefaultMaxCost = 24 * 1024 * 1024;

    explicit ThumbnailCache(int maxCount = DefaultMaxCount, qint64 maxCost = DefaultMaxCost);
    // The index points into the list: a copy would point into the original.
    ThumbnailCache(const ThumbnailCache &) = delete;
    ThumbnailCache &operator=(const ThumbnailCache &) = delete;

    // None when the path is not cached; a hit counts as a use.
    std::optional<QImage> find(const QString &path);
    // An image larger than the whole cost bound is not kept.
    void insert(const QString &path, const QImage &image);
    void remove(const QString &path);
    void clear();

    int count() const { return int(m_index.size()); }

    qint64 totalCost() const { return m_totalCost; }

    static qint64 costOf(const QImage &image) { return image.sizeInBytes(); }

private:
    struct Entry
    {
        QString path;
        QImage image;
    };

    using Entries = std::list<Entry>;

    void erase(Entries::iterator entry);

    int m_maxCount;
    qint64 m_maxCost;
    qint64 m_totalCost = 0;
    // Most recently used first.
    Entries m_entries;
    QHash<QString, Entries::iterator> m_index;
};

} // namespace Nomly
