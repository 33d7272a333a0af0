#include "gui/thumbnailcache.h"

namespace Nomly {

ThumbnailCache::ThumbnailCache(int maxCount, qint64 maxCost)
    : m_maxCount(maxCount)
    , m_maxCost(maxCost)
{}

std::optional<QImage> ThumbnailCache::find(const QString &path)
{
    const auto found = m_index.constFind(path);
    if (found == m_index.cend())
        return std::nullopt;
    m_entries.splice(m_entries.begin(), m_entries, *found);
    return m_entries.front().image;
}

void ThumbnailCache::insert(const QString &path, const QImage &image)
{
    remove(path);
    const qint64 cost = costOf(image);
    if (cost > m_maxCost || m_maxCount < 1)
        return;
    m_entries.push_front(Entry { path, image });
    m_index.insert(path, m_entries.begin());
    m_totalCost += cost;
    while (count() > m_maxCount || m_totalCost > m_maxCost)
        erase(std::prev(m_entries.end()));
}

void ThumbnailCache::remove(const QString &path)
{
    const auto found = m_index.constFind(path);
    if (found != m_index.cend())
        erase(*found);
}

void ThumbnailCache::clear()
{
    m_entries.clear();
    m_index.clear();
    m_totalCost = 0;
}

void ThumbnailCache::erase(Entries::iterator entry)
{
    m_totalCost -= costOf(entry->image);
    m_index.remove(entry->path);
    m_entries.erase(entry);
}

} // namespace Nomly
