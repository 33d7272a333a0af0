#include "history/activityviewmodel.h"

#include <QFileInfo>
#include <QPointer>

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

#include "history/database.h"
#include "history/filehashservice.h"
#include "history/metadataservice.h"
#include "history/undoignoreservice.h"
#include "platform/fileidentity.h"
#include "platform/filemover.h"
#include "platform/logcategories.h"

namespace Nomly {

// Everything awaited here is named first: g++ 12 may destroy the temporaries
// of a co_await expression twice, which frees strings still in use.

namespace {

struct ActivityPage
{
    QList<ProcessedFile> files;
    qint64 totalCount = 0;
};

// A dangling symbolic link still takes the name.
bool pathTaken(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

UndoOutcome failed(const QString &message)
{
    qCCritical(lcProcessing).noquote() << "Failed to undo rename:" << message;
    return UndoOutcome { UndoOutcome::Kind::Failed, message };
}

// Undo moves back only the file it renamed: a file that took the name
// since (the renamed one moved away by hand, another renamed into its place)
// must never be moved, or it would take the old name's content. The stored
// identity answers at once; the content hash also finds the file when the
// identity changed without its content (a copy back from elsewhere). Records
// older than both can only trust the name.
bool isTheRenamedFile(const ProcessedFile &record)
{
    if (!isRegularFile(record.newPath))
        return false;
    if (record.fileIdentity && FileIdentity::of(record.newPath) == record.fileIdentity)
        return true;
    if (record.contentHash)
        return FileHashService::hash(record.newPath) == record.contentHash;
    return !record.fileIdentity;
}

// The file side of an undo and the record's update, off the main thread.
UndoOutcome undoOnDisk(Database &database, UndoIgnoreService &undoIgnore, const ProcessedFile &record)
{
    if (!record.id)
        return failed(QStringLiteral("The record of \"%1\" was never stored").arg(record.newName));
    if (!pathTaken(record.newPath)) {
        if (const auto marked = database.markUndone(*record.id); !marked)
            return failed(marked.error());
        return UndoOutcome { UndoOutcome::Kind::FileMissing, {} };
    }
    if (!isTheRenamedFile(record)) {
        return failed(QStringLiteral("\"%1\" is not the file Nomly renamed: it was replaced or changed since. It was "
                                     "left where it is, and the record is kept")
                          .arg(record.newPath));
    }
    // A rename to the same name moved nothing, so there is nothing to move
    // back; its metadata is still restored.
    if (record.originalPath != record.newPath) {
        if (pathTaken(record.originalPath))
            return UndoOutcome { UndoOutcome::Kind::OriginalOccupied, {} };
        // In place before the move, so that the Monitor never sees the file
        // come back as new.
        undoIgnore.ignorePath(record.originalPath, false);
        if (record.contentHash)
            undoIgnore.ignoreHash(*record.contentHash, false);
        if (const auto moved = FileMover::move(record.newPath, record.originalPath); !moved)
            return failed(moved.error());
    }
    if (record.metadataSnapshot) {
        if (const auto restored = MetadataService::restore(record.originalPath, *record.metadataSnapshot); !restored) {
            qCCritical(lcProcessing).noquote() << "Undo restored filename but failed to restore metadata for"
                                               << record.originalPath + QStringLiteral(": ") + restored.error();
        }
    }
    if (const auto marked = database.markUndone(*record.id); !marked)
        return failed(marked.error());
    return UndoOutcome { UndoOutcome::Kind::Undone, {} };
}

} // namespace

ActivityViewModel::ActivityViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent)
    : QObject(parent)
    , m_database(database)
    , m_undoIgnore(undoIgnore)
{}

QString ActivityViewModel::undoAllProgressText() const
{
    return QStringLiteral("Undoing %1 of %2").arg(m_undoAllProgress.first).arg(m_undoAllProgress.second);
}

QCoro::Task<> ActivityViewModel::loadActivity()
{
    if (m_isLoadingActivity)
        co_return;
    setIsLoadingActivity(true);
    const QPointer<ActivityViewModel> self(this);
    auto read = m_database.run([](Database &database) -> Result<ActivityPage> {
        auto files = database.fetchActiveProcessedFiles(FirstPageSize, 0);
        if (!files)
            return files.failure();
        const auto count = database.countActiveProcessedFiles();
        if (!count)
            return count.failure();
        return ActivityPage { std::move(files).value(), count.value() };
    });
    const Result<ActivityPage> page = co_await read;
    if (!self)
        co_return;
    if (page) {
        setActivityFiles(page.value().files);
        setActivityTotalCount(page.value().totalCount);
    } else {
        qCCritical(lcDatabase).noquote() << "Failed to load activity files:" << page.error();
    }
    setIsLoadingActivity(false);
}

QCoro::Task<> ActivityViewModel::reloadIfChanged()
{
    if (m_isLoadingActivity || m_isLoadingMoreActivity || m_isUndoingAll)
        co_return;
    const QPointer<ActivityViewModel> self(this);
    auto read = m_database.run([](Database &database) -> Result<ActivityPage> {
        auto newest = database.fetchActiveProcessedFiles(1, 0);
        if (!newest)
            return newest.failure();
        const auto count = database.countActiveProcessedFiles();
        if (!count)
            return count.failure();
        return ActivityPage { std::move(newest).value(), count.value() };
    });
    const Result<ActivityPage> head = co_await read;
    if (!self || !head)
        co_return;
    const auto newestId = [](const QList<ProcessedFile> &files) {
        return files.isEmpty() ? std::optional<qint64>() : files.first().id;
    };
    if (head.value().totalCount == m_activityTotalCount && newestId(head.value().files) == newestId(m_activityFiles))
        co_return;
    auto reload = loadActivity();
    co_await reload;
}

QCoro::Task<> ActivityViewModel::loadMoreActivity()
{
    const qsizetype loaded = m_activityFiles.size();
    if (m_isLoadingMoreActivity || loaded >= m_activityTotalCount || loaded >= MaxLoadedRecords)
        co_return;
    setIsLoadingMoreActivity(true);
    const int limit = std::min<int>(NextPageSize, MaxLoadedRecords - static_cast<int>(loaded));
    const int offset = static_cast<int>(loaded);
    const QPointer<ActivityViewModel> self(this);
    auto read = m_database.run(
        [limit, offset](Database &database) { return database.fetchActiveProcessedFiles(limit, offset); });
    const auto page = co_await read;
    if (!self)
        co_return;
    if (page)
        setActivityFiles(m_activityFiles + page.value());
    else
        qCCritical(lcDatabase).noquote() << "Failed to load more activity files:" << page.error();
    setIsLoadingMoreActivity(false);
}

void ActivityViewModel::addActivityFile(const ProcessedFile &record)
{
    const bool known = std::any_of(m_activityFiles.cbegin(), m_activityFiles.cend(), [&](const ProcessedFile &file) {
        return file.id == record.id;
    });
    if (known)
        return;
    // In place and bounded: a long run of renames must cost the same for
    // each file, and the window shows the newest records only; older ones
    // come back by paging.
    m_activityFiles.prepend(record);
    if (m_activityFiles.size() > MaxLoadedRecords)
        m_activityFiles.resize(MaxLoadedRecords);
    Q_EMIT activityFilesChanged();
    setActivityTotalCount(m_activityTotalCount + 1);
    notifyStatsAffectingChange();
}

QCoro::Task<UndoOutcome> ActivityViewModel::undo(ProcessedFile record)
{
    const QPointer<ActivityViewModel> self(this);
    Database &database = m_database;
    UndoIgnoreService &undoIgnore = m_undoIgnore;
    auto work
        = QtConcurrent::run([&database, &undoIgnore, record] { return undoOnDisk(database, undoIgnore, record); });
    const UndoOutcome outcome = co_await work;
    if (!self)
        co_return outcome;
    if (outcome.countsAsSuccess() && record.id) {
        retire(*record.id);
        notifyStatsAffectingChange();
    }
    if (outcome.kind == UndoOutcome::Kind::Undone)
        qCInfo(lcProcessing).noquote() << "Undo successful:" << record.newName << "→" << record.originalName;
    Q_EMIT undoFinished(record, outcome);
    co_return outcome;
}

QCoro::Task<> ActivityViewModel::undoAll()
{
    setIsUndoingAll(true);
    const QPointer<ActivityViewModel> self(this);
    auto read = m_database.run([](Database &database) { return database.fetchProcessedFiles(false); });
    const auto records = co_await read;
    if (!self)
        co_return;
    if (records) {
        const qint64 total = records.value().size();
        qint64 succeeded = 0;
        qint64 failedCount = 0;
        setUndoAllProgress(0, total);
        for (const ProcessedFile &record : records.value()) {
            auto undoing = undo(record);
            const UndoOutcome outcome = co_await undoing;
            if (!self)
                co_return;
            (outcome.countsAsSuccess() ? succeeded : failedCount) += 1;
            setUndoAllProgress(succeeded + failedCount, total);
        }
        qCInfo(lcProcessing).noquote()
            << QStringLiteral("Undo all completed: %1 successful, %2 failed").arg(succeeded).arg(failedCount);
    } else {
        qCCritical(lcProcessing).noquote() << "Failed to get files for undo all:" << records.error();
    }
    setIsUndoingAll(false);
    auto reload = loadActivity();
    co_await reload;
}

QCoro::Task<bool> ActivityViewModel::removeRecord(ProcessedFile record)
{
    if (!record.id)
        co_return false;
    const qint64 id = *record.id;
    const QPointer<ActivityViewModel> self(this);
    auto removing = m_database.run([id](Database &database) { return database.deleteProcessedFile(id); });
    const auto removed = co_await removing;
    if (!self)
        co_return false;
    if (!removed) {
        qCCritical(lcDatabase).noquote() << "Failed to remove activity record:" << removed.error();
        co_return false;
    }
    retire(id);
    notifyStatsAffectingChange();
    co_return true;
}

QCoro::Task<bool> ActivityViewModel::clearAll()
{
    const QPointer<ActivityViewModel> self(this);
    auto clearing = m_database.run([](Database &database) { return database.deleteAllProcessedFiles(); });
    const auto cleared = co_await clearing;
    if (!self)
        co_return false;
    if (!cleared) {
        qCCritical(lcDatabase).noquote() << "Failed to clear activity records:" << cleared.error();
        co_return false;
    }
    setActivityFiles({});
    setActivityTotalCount(0);
    notifyStatsAffectingChange();
    co_return true;
}

void ActivityViewModel::retire(qint64 id)
{
    QList<ProcessedFile> files = m_activityFiles;
    files.removeIf([id](const ProcessedFile &file) { return file.id == id; });
    setActivityFiles(std::move(files));
    setActivityTotalCount(std::max<qint64>(0, m_activityTotalCount - 1));
}

void ActivityViewModel::notifyStatsAffectingChange()
{
    if (m_onStatsAffectingChange)
        m_onStatsAffectingChange();
}

void ActivityViewModel::setActivityFiles(QList<ProcessedFile> files)
{
    m_activityFiles = std::move(files);
    Q_EMIT activityFilesChanged();
}

void ActivityViewModel::setActivityTotalCount(qint64 count)
{
    if (m_activityTotalCount == count)
        return;
    m_activityTotalCount = count;
    Q_EMIT activityTotalCountChanged();
}

void ActivityViewModel::setIsLoadingActivity(bool loading)
{
    if (m_isLoadingActivity == loading)
        return;
    m_isLoadingActivity = loading;
    Q_EMIT isLoadingActivityChanged();
}

void ActivityViewModel::setIsLoadingMoreActivity(bool loading)
{
    if (m_isLoadingMoreActivity == loading)
        return;
    m_isLoadingMoreActivity = loading;
    Q_EMIT isLoadingMoreActivityChanged();
}

void ActivityViewModel::setIsUndoingAll(bool undoing)
{
    if (m_isUndoingAll == undoing)
        return;
    m_isUndoingAll = undoing;
    Q_EMIT isUndoingAllChanged();
}

void ActivityViewModel::setUndoAllProgress(qint64 completed, qint64 total)
{
    m_undoAllProgress = { completed, total };
    Q_EMIT undoAllProgressChanged();
}

} // namespace Nomly
