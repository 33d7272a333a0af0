#include "platform/foldereventstream.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <cerrno>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

#include "platform/canonicalpath.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

using namespace Qt::StringLiterals;

// Everything a folder's watch listens for: the file changes that are
// reported, the removals and moves that keep the subfolder watches in step,
// and the watched folder's own end.
constexpr quint32 WatchMask = IN_CREATE | IN_CLOSE_WRITE | IN_MODIFY | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE
    | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW;

constexpr quint32 WatchEnded = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

constexpr quint32 FileWritten = IN_CREATE | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB;

// Room for a few hundred events per read.
constexpr std::size_t ReadBufferSize = 64 * 1024;

// A folder under a storm of writes must not keep the thread from its other
// work; the notifier calls again for what is left.
constexpr int MaxReadsPerWakeUp = 16;

bool isHidden(const QString &name)
{
    return name.startsWith(u'.');
}

QString childPath(const QString &folder, const QString &name)
{
    if (folder.endsWith(u'/'))
        return folder + name;
    return folder + u'/' + name;
}

} // namespace

FolderEventStream::FolderEventStream(QObject *parent)
    : QObject(parent)
{}

FolderEventStream::~FolderEventStream()
{
    close();
}

QStringList FolderEventStream::open(const QStringList &roots, Depth depth)
{
    close();
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) {
        qCWarning(lcFileWatcher).noquote() << u"Cannot open a change stream (%1); the limit of streams per user is "
                                              u"/proc/sys/fs/inotify/max_user_instances"_s.arg(qt_error_string(errno));
        return {};
    }
    m_depth = depth;
    m_warnedWatchLimit = false;

    QStringList watched;
    for (const QString &root : roots) {
        if (watchTree(root, Origin::Root, nullptr))
            watched.append(root);
    }
    if (watched.isEmpty()) {
        close();
        return {};
    }
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &FolderEventStream::readEvents);
    return watched;
}

void FolderEventStream::close()
{
    if (m_notifier) {
        // The stream may be closed from a receiver of its own notifier's
        // wake-up, so the notifier goes once that has returned.
        m_notifier->setEnabled(false);
        m_notifier->deleteLater();
        m_notifier = nullptr;
    }
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_folders.clear();
    m_roots.clear();
}

void FolderEventStream::readEvents()
{
    QList<FolderEvent> events;
    for (int round = 0; round < MaxReadsPerWakeUp && m_fd >= 0; ++round) {
        alignas(inotify_event) char buffer[ReadBufferSize];
        const ssize_t length = ::read(m_fd, buffer, sizeof buffer);
        if (length < 0) {
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK)
                qCWarning(lcFileWatcher).noquote() << u"Reading the change stream failed: "_s + qt_error_string(errno);
            break;
        }
        const auto end = static_cast<std::size_t>(length);
        std::size_t offset = 0;
        while (offset + sizeof(inotify_event) <= end) {
            inotify_event header;
            std::memcpy(&header, buffer + offset, sizeof header);
            const char *name = buffer + offset + sizeof header;
            // The kernel pads the name with NULs up to `len`.
            const QString decoded
                = header.len > 0 ? QFile::decodeName(QByteArray(name, qstrnlen(name, header.len))) : QString();
            handle(header.wd, header.mask, decoded, events);
            offset += sizeof header + header.len;
        }
    }
    if (!events.isEmpty())
        emit eventsArrived(events);
}

void FolderEventStream::handle(int wd, quint32 mask, const QString &name, QList<FolderEvent> &events)
{
    if (mask & IN_Q_OVERFLOW) {
        events.append({ FolderEventKind::Overflowed, {} });
        rewatch(events);
        return;
    }
    const auto found = m_folders.constFind(wd);
    // A watch this stream has already let go of.
    if (found == m_folders.cend())
        return;
    const QString folder = *found;

    if (mask & WatchEnded) {
        if (m_roots.contains(wd))
            dropRoot(wd, events);
        else if (mask & IN_IGNORED)
            m_folders.remove(wd);
        return;
    }
    if (name.isEmpty())
        return;

    const QString path = childPath(folder, name);
    if (mask & IN_ISDIR) {
        if (mask & (IN_CREATE | IN_MOVED_TO)) {
            if (m_depth == Depth::Subfolders && !isHidden(name))
                watchTree(path, Origin::Subfolder, &events);
        } else if (mask & (IN_MOVED_FROM | IN_DELETE)) {
            forgetTree(path);
        }
        return;
    }
    if (mask & IN_MOVED_TO)
        events.append({ FolderEventKind::MovedIn, path });
    else if (mask & FileWritten)
        events.append({ FolderEventKind::Written, path });
}

bool FolderEventStream::addWatch(const QString &path, Origin origin)
{
    // A root may be a link to its folder: the watch goes on the folder, and
    // events keep naming the root as it was given. Below a root, links are
    // not followed, so that a link cannot lead the watch in circles.
    const QString target = origin == Origin::Root ? canonicalPath(path) : path;
    const int wd = inotify_add_watch(m_fd, QFile::encodeName(target).constData(), WatchMask);
    if (wd < 0) {
        const int error = errno;
        if (error == ENOSPC) {
            // Every further folder fails the same way; one line says it all.
            if (!m_warnedWatchLimit)
                qCWarning(lcFileWatcher).noquote()
                    << u"Out of inotify watches at %1; it and further folders are not watched. Raise the "
                       u"limit in /proc/sys/fs/inotify/max_user_watches"_s.arg(path);
            m_warnedWatchLimit = true;
        } else if (origin == Origin::Root || error != ENOENT) {
            // A subfolder that vanished before its watch is no news.
            qCWarning(lcFileWatcher).noquote() << u"Cannot watch folder %1: %2"_s.arg(path, qt_error_string(error));
        }
        return false;
    }
    // The kernel hands out one watch per folder; a root that is also another
    // root's subfolder keeps its root's name and role.
    if (origin == Origin::Root)
        m_roots.insert(wd);
    else if (m_roots.contains(wd))
        return true;
    m_folders.insert(wd, path);
    return true;
}

bool FolderEventStream::watchTree(const QString &folder, Origin origin, QList<FolderEvent> *found)
{
    if (!addWatch(folder, origin))
        return false;
    if (m_depth == Depth::TopLevel)
        return true;

    QStringList queue { folder };
    while (!queue.isEmpty()) {
        const QString current = queue.takeLast();
        if (current != folder && !addWatch(current, Origin::Subfolder))
            continue;
        const QFileInfoList entries
            = QDir(current).entryInfoList(QDir::Dirs | QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
        for (const QFileInfo &entry : entries) {
            if (entry.isDir()) {
                if (!entry.isSymLink() && !isHidden(entry.fileName()))
                    queue.append(entry.filePath());
            } else if (found) {
                found->append({ FolderEventKind::Written, childPath(current, entry.fileName()) });
            }
        }
    }
    return true;
}

void FolderEventStream::rewatch(QList<FolderEvent> &events)
{
    // Whoever hears of the overflow scans for the files; what the stream
    // must catch up on is the folders made meanwhile, which have no watch
    // yet, and the roots that went away.
    QList<std::pair<int, QString>> roots;
    for (const int wd : std::as_const(m_roots))
        roots.append({ wd, m_folders.value(wd) });
    for (const auto &[wd, root] : roots) {
        if (!watchTree(root, Origin::Root, nullptr))
            dropRoot(wd, events);
    }
}

void FolderEventStream::dropRoot(int wd, QList<FolderEvent> &events)
{
    const QString root = m_folders.value(wd);
    events.append({ FolderEventKind::RootChanged, root });
    // A moved root's watch would follow it to wherever it went, and a
    // deleted one's ends anyway; either way it is reported once.
    inotify_rm_watch(m_fd, wd);
    m_roots.remove(wd);
    m_folders.remove(wd);
    forgetTree(root);
}

void FolderEventStream::forgetTree(const QString &folder)
{
    const QString below = childPath(folder, {});
    for (auto it = m_folders.begin(); it != m_folders.end();) {
        // Roots end only on their own events, so that each is reported.
        if (!m_roots.contains(it.key()) && (it.value() == folder || it.value().startsWith(below))) {
            inotify_rm_watch(m_fd, it.key());
            it = m_folders.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace Nomly
