#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <optional>

namespace Nomly {

class UserDefaults;

// Remembers the folders the user granted, across launches, and counts who is
// using which folder right now.
//
// A bookmark is the folder's resolved path, kept in the user defaults under
// its standardised path (absolute and cleaned, links left as given). Linux
// asks for no grant to open a folder, so starting and stopping access hold
// nothing; the counting is kept all the same, because it decides which
// folders stay listed as in use and which may be dropped.
//
// Every member may be called from any thread: restoring runs in the
// background at launch while the main thread records accesses.
class BookmarkService final
{
public:
    // A folder in use: the token a caller gets back from recordAccess.
    struct ActiveResource
    {
        // Standardised.
        QString path;
        // Held for a saved bookmark, such as a watched folder.
        bool isSavedAccess = false;
        // Short-term accesses still open: a batch or a rename in progress.
        int transientAccessCount = 0;

        bool operator==(const ActiveResource &) const = default;
    };

    static const QString BookmarksKey;
    // Above this many folders in use, the least recently used idle one goes.
    static constexpr qsizetype MaxActiveResources = 64;

    explicit BookmarkService(UserDefaults &defaults);
    BookmarkService(const BookmarkService &) = delete;
    BookmarkService &operator=(const BookmarkService &) = delete;

    // Stores a bookmark for the folder. False, logged, with nothing stored,
    // when the folder does not exist or cannot be read.
    bool saveBookmark(const QString &path);
    // Resolves each stored bookmark and takes the folders it finds into use
    // as saved accesses; a bookmark whose folder moved is rewritten. A folder
    // that is gone is logged and its bookmark left alone.
    void restoreBookmarks();
    // Forgets the bookmark. A folder still in use by a batch stays listed,
    // no longer as saved, until the batch lets go.
    void removeBookmark(const QString &path);

    // Moves the folder to the front of the list, adding `transientDelta` to
    // its open short-term accesses (negative when one ends); a folder is
    // marked saved once any caller said so.
    ActiveResource recordAccess(const QString &path, bool isSaved, int transientDelta);
    std::optional<qsizetype> indexOfActiveResource(const QString &path) const;
    // Most recently used first.
    QList<ActiveResource> activeResources() const;

private:
    ActiveResource recordAccessLocked(const QString &path, bool isSaved, int transientDelta);
    std::optional<qsizetype> indexLocked(const QString &standardized) const;
    void evictLocked();

    UserDefaults &m_defaults;
    mutable QMutex m_mutex;
    QList<ActiveResource> m_activeResources;
};

} // namespace Nomly
