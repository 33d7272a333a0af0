#include "app/bookmarkservice.h"

#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QVariantMap>
#include <algorithm>

#include "platform/logcategories.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

// Absolute and cleaned but with links left alone, so that a folder added
// through a link keeps its own bookmark.
QString standardizedPath(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// The bookmark of a folder: its resolved path. Empty when there is no folder
// to read there.
QString createBookmark(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isDir() || !info.isReadable())
        return {};
    return info.canonicalFilePath();
}

struct ResolvedBookmark
{
    QString path;
    // The stored path now leads elsewhere: the folder moved and was linked
    // back, or a folder above it became a link.
    bool isStale = false;
};

std::optional<ResolvedBookmark> resolveBookmark(const QString &bookmark)
{
    const QString resolved = createBookmark(bookmark);
    if (resolved.isEmpty())
        return std::nullopt;
    return ResolvedBookmark { resolved, resolved != bookmark };
}

} // namespace

const QString BookmarkService::BookmarksKey = u"securityScopedBookmarks"_s;

BookmarkService::BookmarkService(UserDefaults &defaults)
    : m_defaults(defaults)
{}

bool BookmarkService::saveBookmark(const QString &path)
{
    const QString standardized = standardizedPath(path);
    const QString bookmark = createBookmark(standardized);
    if (bookmark.isEmpty()) {
        qCCritical(lcFileWatcher).noquote() << u"Failed to save bookmark for "_s + standardized;
        return false;
    }

    const QMutexLocker locker(&m_mutex);
    QVariantMap bookmarks = m_defaults.value(BookmarksKey).toMap();
    bookmarks.insert(standardized, bookmark);
    m_defaults.setValue(BookmarksKey, bookmarks);
    qCInfo(lcFileWatcher).noquote() << u"Saved bookmark for: "_s + standardized;
    return true;
}

void BookmarkService::restoreBookmarks()
{
    const QMutexLocker locker(&m_mutex);
    if (!m_defaults.contains(BookmarksKey))
        return;

    QVariantMap bookmarks = m_defaults.value(BookmarksKey).toMap();
    bool changed = false;
    for (auto it = bookmarks.begin(); it != bookmarks.end(); ++it) {
        const QString bookmark = it.value().toString();
        if (bookmark.isEmpty())
            continue;

        const std::optional<ResolvedBookmark> resolved = resolveBookmark(bookmark);
        if (!resolved) {
            qCCritical(lcFileWatcher).noquote() << u"Failed to resolve bookmark for "_s + it.key();
            continue;
        }
        if (resolved->isStale) {
            it.value() = createBookmark(resolved->path);
            changed = true;
        }

        // Restoring runs again whenever watching starts; a folder already in
        // use must not gain a second saved access.
        const QString standardized = standardizedPath(resolved->path);
        if (indexLocked(standardized))
            continue;
        recordAccessLocked(standardized, true, 0);
        qCInfo(lcFileWatcher).noquote() << u"Resolved bookmark for: "_s + standardized;
    }
    if (changed)
        m_defaults.setValue(BookmarksKey, bookmarks);
}

void BookmarkService::removeBookmark(const QString &path)
{
    const QString standardized = standardizedPath(path);

    const QMutexLocker locker(&m_mutex);
    QVariantMap bookmarks = m_defaults.value(BookmarksKey).toMap();
    if (bookmarks.remove(standardized) > 0)
        m_defaults.setValue(BookmarksKey, bookmarks);

    if (const std::optional<qsizetype> index = indexLocked(standardized)) {
        // A running batch keeps its access; once it ends, the folder is an
        // idle entry like any other and eviction may take it.
        if (m_activeResources[*index].transientAccessCount <= 0)
            m_activeResources.removeAt(*index);
        else
            m_activeResources[*index].isSavedAccess = false;
    }
    qCInfo(lcFileWatcher).noquote() << u"Removed bookmark for: "_s + standardized;
}

BookmarkService::ActiveResource BookmarkService::recordAccess(const QString &path, bool isSaved, int transientDelta)
{
    const QMutexLocker locker(&m_mutex);
    return recordAccessLocked(standardizedPath(path), isSaved, transientDelta);
}

std::optional<qsizetype> BookmarkService::indexOfActiveResource(const QString &path) const
{
    const QMutexLocker locker(&m_mutex);
    return indexLocked(standardizedPath(path));
}

QList<BookmarkService::ActiveResource> BookmarkService::activeResources() const
{
    const QMutexLocker locker(&m_mutex);
    return m_activeResources;
}

BookmarkService::ActiveResource BookmarkService::recordAccessLocked(const QString &standardized,
                                                                    bool isSaved,
                                                                    int transientDelta)
{
    ActiveResource resource;
    if (const std::optional<qsizetype> index = indexLocked(standardized)) {
        resource = m_activeResources.takeAt(*index);
        resource.isSavedAccess = resource.isSavedAccess || isSaved;
        resource.transientAccessCount += transientDelta;
    } else {
        resource = ActiveResource { standardized, isSaved, std::max(transientDelta, 0) };
    }
    m_activeResources.prepend(resource);

    // Also when an access ends: a list held above the bound by a batch
    // shrinks back as the batch lets go of its folders.
    evictLocked();
    return resource;
}

std::optional<qsizetype> BookmarkService::indexLocked(const QString &standardized) const
{
    for (qsizetype i = 0; i < m_activeResources.size(); ++i) {
        if (m_activeResources[i].path == standardized)
            return i;
    }
    return std::nullopt;
}

void BookmarkService::evictLocked()
{
    while (m_activeResources.size() > MaxActiveResources) {
        qsizetype victim = -1;
        for (qsizetype i = m_activeResources.size() - 1; i >= 0; --i) {
            if (m_activeResources[i].transientAccessCount == 0) {
                victim = i;
                break;
            }
        }
        // Every folder is in use: the list stays above the bound until an
        // access ends.
        if (victim < 0)
            return;
        // Nothing to release on Linux beyond the entry itself.
        const QString path = m_activeResources.takeAt(victim).path;
        qCDebug(lcFileWatcher).noquote() << u"BookmarkService: evicted LRU bookmark access: "_s + path;
    }
}

} // namespace Nomly
