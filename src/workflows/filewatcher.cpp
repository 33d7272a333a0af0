#include "workflows/filewatcher.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "history/undoignoreservice.h"
#include "platform/canonicalpath.h"
#include "platform/foldereventstream.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

// A file seen and not yet settled.
struct PendingFile
{
    Clock::time_point deadline;
    Clock::time_point addedAt;
    // As the last event found it; -1 when it was gone.
    qint64 size = -1;
    // Arrival order, which breaks ties between equal times.
    quint64 order = 0;
};

qint64 currentSize(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() ? info.size() : -1;
}

FileWatcherFilter normalised(FileWatcherFilter filter)
{
    QSet<QString> extensions;
    for (const QString &extension : std::as_const(filter.fileExtensions)) {
        if (!extension.isEmpty())
            extensions.insert(extension.toLower());
    }
    filter.fileExtensions = std::move(extensions);
    return filter;
}

} // namespace

struct FileWatcher::State
{
    State(FileWatcher &owner, UndoIgnoreService &ignore, FileCallback settled, Callback root, Callback overflow)
        : q(owner)
        , undoIgnore(ignore)
        , fileSettled(std::move(settled))
        , rootChanged(std::move(root))
        , overflowed(std::move(overflow))
    {}

    void onEvents(const QList<FolderEvent> &events);
    bool isCandidate(const QString &path) const;
    void enqueue(const QString &path);
    void trim(Clock::time_point now);
    void arm(Clock::time_point deadline);
    void settle();
    void later(const Callback &callback);

    FileWatcher &q;
    UndoIgnoreService &undoIgnore;
    const FileCallback fileSettled;
    const Callback rootChanged;
    const Callback overflowed;

    // As configured, and as it was at the start that is running.
    FileWatcherFilter filter;
    FileWatcherFilter activeFilter;
    std::chrono::milliseconds settleDelay = DefaultSettleDelay;

    bool running = false;
    QStringList requestedFolders;
    QStringList watched;
    // The watched folders in the form event paths are built from.
    QSet<QString> roots;

    FolderEventStream stream;
    QHash<QString, PendingFile> pending;
    quint64 nextOrder = 0;
    // One timer for the earliest deadline, whatever the number of files.
    QTimer timer;
    Clock::time_point timerDeadline;
    // Moves on at every stop, so that a round of hand-overs ends when a
    // receiver stops the watcher.
    quint64 generation = 0;
};

void FileWatcher::State::later(const Callback &callback)
{
    // On the event loop, so that the receiver may stop or restart the
    // watcher while it is in the middle of a batch of events.
    if (callback)
        QMetaObject::invokeMethod(&q, callback, Qt::QueuedConnection);
}

void FileWatcher::State::onEvents(const QList<FolderEvent> &events)
{
    for (const FolderEvent &event : events) {
        switch (event.kind) {
        case FolderEventKind::RootChanged:
            qCWarning(lcFileWatcher).noquote() << u"Watched folder was moved or deleted: "_s + event.path;
            later(rootChanged);
            continue;
        case FolderEventKind::Overflowed:
            qCWarning(lcFileWatcher) << "FileWatcher: the kernel dropped events; a scan has to find what was missed";
            later(overflowed);
            continue;
        case FolderEventKind::Written:
        case FolderEventKind::MovedIn:
            break;
        }
        if (isCandidate(event.path))
            enqueue(event.path);
    }
}

bool FileWatcher::State::isCandidate(const QString &path) const
{
    const QFileInfo info(path);
    if (!activeFilter.monitorSubfolders && !roots.contains(info.path())) {
        qCDebug(lcFileWatcher).noquote() << u"FileWatcher: skipped subfolder event "_s + path;
        return false;
    }
    const QString name = info.fileName();
    if (name.startsWith(u'.'))
        return false;
    if (!activeFilter.filePrefix.isEmpty() && !name.startsWith(activeFilter.filePrefix))
        return false;
    if (!activeFilter.fileExtensions.contains(info.suffix().toLower())) {
        qCDebug(lcFileWatcher).noquote() << u"FileWatcher: skipped unsupported event "_s + path;
        return false;
    }
    return true;
}

void FileWatcher::State::enqueue(const QString &path)
{
    qCInfo(lcFileWatcher).noquote() << u"FileWatcher: queued event "_s + path;
    const Clock::time_point now = Clock::now();
    const Clock::time_point deadline = now + settleDelay;
    const auto found = pending.find(path);
    if (found != pending.end()) {
        found->deadline = deadline;
        found->size = currentSize(path);
    } else {
        // A full table makes room before the new file joins, so that a
        // burst of exactly the limit is followed whole.
        if (pending.size() >= MaxPendingFiles)
            trim(now);
        pending.insert(path, PendingFile { deadline, now, currentSize(path), nextOrder++ });
    }
    arm(deadline);
}

void FileWatcher::State::trim(Clock::time_point now)
{
    // Entries this old belong to files whose events never stopped; they
    // are given up first.
    qsizetype stale = 0;
    for (auto it = pending.begin(); it != pending.end();) {
        if (now - it->addedAt > StaleEntryTimeout) {
            it = pending.erase(it);
            ++stale;
        } else {
            ++it;
        }
    }
    if (stale > 0)
        qCInfo(lcFileWatcher).noquote() << u"FileWatcher: Cleaned up %1 stale pending entries"_s.arg(stale);
    if (pending.size() < MaxPendingFiles)
        return;

    QList<std::pair<quint64, QString>> byAge;
    byAge.reserve(pending.size());
    for (auto it = pending.cbegin(); it != pending.cend(); ++it)
        byAge.append({ it->order, it.key() });
    // Room for the file about to join.
    const qsizetype excess = pending.size() - (MaxPendingFiles - 1);
    std::partial_sort(byAge.begin(), byAge.begin() + excess, byAge.end());
    for (qsizetype i = 0; i < excess; ++i)
        pending.remove(byAge.at(i).second);
    qCWarning(lcFileWatcher).noquote() << u"FileWatcher: Dropped %1 oldest pending files due to limit"_s.arg(excess);
}

void FileWatcher::State::arm(Clock::time_point deadline)
{
    // A timer that fires before the deadline it serves only costs a look;
    // one that fires after it would hold a file back.
    if (timer.isActive() && timerDeadline <= deadline)
        return;
    timerDeadline = deadline;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    timer.start(std::max(wait, std::chrono::milliseconds(0)));
}

void FileWatcher::State::settle()
{
    const Clock::time_point now = Clock::now();
    QList<std::pair<QString, PendingFile>> due;
    for (auto it = pending.begin(); it != pending.end();) {
        if (it->deadline <= now) {
            due.append({ it.key(), *it });
            it = pending.erase(it);
        } else {
            ++it;
        }
    }
    std::sort(due.begin(), due.end(), [](const auto &a, const auto &b) { return a.second.order < b.second.order; });

    const QPointer<FileWatcher> alive(&q);
    const quint64 round = generation;
    for (auto &[path, entry] : due) {
        const QFileInfo info(path);
        if (!info.exists())
            continue;
        // A writer that the kernel does not report on (a network share, a
        // mapped file) still changes the size; such a file waits on.
        if (info.size() != entry.size) {
            entry.deadline = now + settleDelay;
            entry.size = info.size();
            if (!pending.contains(path))
                pending.insert(path, entry);
            continue;
        }
        if (!info.isFile())
            continue;
        if (undoIgnore.isPathIgnored(canonicalPath(path))) {
            qCDebug(lcFileWatcher).noquote() << u"FileWatcher: skipped ignored "_s + path;
            continue;
        }
        qCInfo(lcFileWatcher).noquote() << u"FileWatcher: dispatching "_s + path;
        if (fileSettled)
            fileSettled(path);
        if (!alive || generation != round)
            return;
    }

    if (pending.isEmpty())
        return;
    const auto earliest = std::min_element(
        pending.cbegin(), pending.cend(), [](const auto &a, const auto &b) { return a.deadline < b.deadline; });
    arm(earliest->deadline);
}

FileWatcher::FileWatcher(
    UndoIgnoreService &undoIgnore, FileCallback fileSettled, Callback rootChanged, Callback overflowed, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<State>(
          *this, undoIgnore, std::move(fileSettled), std::move(rootChanged), std::move(overflowed)))
{
    d->timer.setSingleShot(true);
    connect(&d->timer, &QTimer::timeout, this, [this] { d->settle(); });
    connect(&d->stream, &FolderEventStream::eventsArrived, this, [this](const QList<FolderEvent> &events) {
        d->onEvents(events);
    });
}

FileWatcher::~FileWatcher()
{
    stop();
}

void FileWatcher::configure(FileWatcherFilter filter)
{
    d->filter = normalised(std::move(filter));
}

void FileWatcher::start(const QStringList &folders)
{
    if (d->running)
        return;

    QStringList readable;
    QStringList roots;
    for (const QString &folder : folders) {
        const QFileInfo info(folder);
        if (!info.isDir())
            continue;
        if (!info.isReadable() || !info.isExecutable()) {
            qCWarning(lcFileWatcher).noquote() << u"No permission to read folder: "_s + folder;
            continue;
        }
        readable.append(folder);
        roots.append(QDir::cleanPath(info.absoluteFilePath()));
    }

    const QStringList watchedRoots = roots.isEmpty()
        ? QStringList()
        : d->stream.open(roots,
                         d->filter.monitorSubfolders ? FolderEventStream::Depth::Subfolders
                                                     : FolderEventStream::Depth::TopLevel);
    if (watchedRoots.isEmpty()) {
        qCWarning(lcFileWatcher) << "No valid folders to watch";
        return;
    }

    d->watched.clear();
    for (qsizetype i = 0; i < roots.size(); ++i) {
        if (watchedRoots.contains(roots.at(i)))
            d->watched.append(readable.at(i));
    }
    d->roots = QSet<QString>(watchedRoots.cbegin(), watchedRoots.cend());
    d->requestedFolders = folders;
    d->activeFilter = d->filter;
    d->running = true;
    qCInfo(lcFileWatcher).noquote() << u"File watcher started for folders: "_s + d->watched.join(u", "_s);
}

void FileWatcher::stop()
{
    if (!d->running)
        return;
    d->stream.close();
    d->timer.stop();
    d->pending.clear();
    d->watched.clear();
    d->roots.clear();
    d->running = false;
    ++d->generation;
    qCInfo(lcFileWatcher) << "File watcher stopped";
}

bool FileWatcher::isRunning() const
{
    return d->running;
}

bool FileWatcher::isRunning(const QStringList &folders, const FileWatcherFilter &filter) const
{
    return d->running && d->requestedFolders == folders && d->activeFilter == normalised(filter);
}

QStringList FileWatcher::watchedFolders() const
{
    return d->watched;
}

int FileWatcher::pendingCount() const
{
    return static_cast<int>(d->pending.size());
}

void FileWatcher::setSettleDelay(std::chrono::milliseconds delay)
{
    d->settleDelay = delay;
}

} // namespace Nomly
