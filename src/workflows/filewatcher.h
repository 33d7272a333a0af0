#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <memory>

namespace Nomly {

class UndoIgnoreService;

// What a watcher filters by, besides its folders.
struct FileWatcherFilter
{
    bool monitorSubfolders = true;
    // Empty: no prefix filter. Compared case-sensitively with the file name.
    QString filePrefix;
    // Lower-case, without the dot. Empty lets nothing through.
    QSet<QString> fileExtensions;

    bool operator==(const FileWatcherFilter &) const = default;
};

// Turns the kernel's change stream for a set of watched folders into one call
// per settled file: a file is handed on once no event has come for it for
// the settle delay and its size held steady, so a file still being written
// is handed on once, after its last write. Files an undo or a rename of the
// program's own just put in place are passed over.
//
// Lives on the thread that made it; the callbacks arrive there. Nothing is
// polled: with no events the watcher costs nothing.
class FileWatcher final : public QObject
{
    Q_OBJECT

public:
    using FileCallback = std::function<void(const QString &path)>;
    using Callback = std::function<void()>;

    static constexpr std::chrono::milliseconds DefaultSettleDelay { 1500 };
    // At most this many files are pending. A new file finding the table full
    // first gives up those pending longer than StaleEntryTimeout, then the
    // oldest, until it fits.
    static constexpr int MaxPendingFiles = 1000;
    static constexpr std::chrono::seconds StaleEntryTimeout { 60 };

    // `fileSettled` gets the path as the event named it (not resolved);
    // `rootChanged` is called when a watched folder was moved or deleted;
    // `overflowed` when the kernel dropped events, so that the owner scans
    // for what it missed.
    FileWatcher(UndoIgnoreService &undoIgnore,
                FileCallback fileSettled,
                Callback rootChanged,
                Callback overflowed,
                QObject *parent = nullptr);
    ~FileWatcher() override;

    // Takes effect with the next start; extensions are lower-cased here.
    void configure(FileWatcherFilter filter);

    // Begins watching those of `folders` that exist and can be read; does
    // nothing when already running. With none left it logs "No valid
    // folders to watch" and stays stopped.
    void start(const QStringList &folders);
    // Ends watching and forgets every file that had not settled yet.
    void stop();

    bool isRunning() const;
    // Running on exactly these folders (same order) and this filter.
    bool isRunning(const QStringList &folders, const FileWatcherFilter &filter) const;
    // The folders being watched: those of the last start that were valid.
    QStringList watchedFolders() const;
    // Files seen and not yet settled.
    int pendingCount() const;

    // Tests shorten it.
    void setSettleDelay(std::chrono::milliseconds delay);

private:
    struct State;
    std::unique_ptr<State> d;
};

} // namespace Nomly
