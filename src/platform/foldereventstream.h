#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include "platform/folderevent.h"

class QSocketNotifier;

namespace Nomly {

// The kernel's change notifications (inotify) for a set of folders, read on
// the thread that owns the stream whenever the descriptor has something to
// say, so that an idle stream costs nothing.
//
// Only files are reported; directories are followed silently. Removals are
// not reported either: whoever acts on a file checks that it is still there.
class FolderEventStream final : public QObject
{
    Q_OBJECT

public:
    enum class Depth
    {
        TopLevel,
        // Every subfolder is watched too, those that appear later included.
        // Hidden folders (name starting with ".") and symbolic links to
        // folders are left out.
        Subfolders,
    };

    explicit FolderEventStream(QObject *parent = nullptr);
    ~FolderEventStream() override;

    // Starts watching `roots` (absolute paths; symbolic links to folders are
    // followed). Returns the roots it could watch; with none the stream
    // stays closed. Closes an open stream first.
    QStringList open(const QStringList &roots, Depth depth);
    void close();

    bool isOpen() const { return m_fd >= 0; }

Q_SIGNALS:
    // What one wake-up read, in the order the kernel reported it.
    void eventsArrived(const QList<FolderEvent> &events);

private:
    enum class Origin
    {
        Root,
        Subfolder,
    };

    void readEvents();
    void handle(int wd, quint32 mask, const QString &name, QList<FolderEvent> &events);
    bool addWatch(const QString &path, Origin origin);
    // Watches `folder` and, with subfolders, the folders below it; the files
    // already inside go to `found`, as they may have been written before the
    // watch existed. False when `folder` itself could not be watched.
    bool watchTree(const QString &folder, Origin origin, QList<FolderEvent> *found);
    // After the kernel dropped events: watches what may have been missed.
    void rewatch(QList<FolderEvent> &events);
    // Reports the root as changed and stops watching it.
    void dropRoot(int wd, QList<FolderEvent> &events);
    // Stops watching `folder` and everything below it.
    void forgetTree(const QString &folder);

    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    Depth m_depth = Depth::TopLevel;
    QHash<int, QString> m_folders; // watch descriptor -> folder path
    QSet<int> m_roots;
    bool m_warnedWatchLimit = false;
};

} // namespace Nomly
