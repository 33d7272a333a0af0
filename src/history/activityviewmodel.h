#pragma once

#include <QList>
#include <QObject>
#include <QPair>
#include <functional>

#include <qcoro/qcorotask.h>

#include "history/processedfile.h"
#include "history/undooutcome.h"

namespace Nomly {

class Database;
class UndoIgnoreService;

// A bounded window on the activity log, newest first, and the undo of the
// renames in it. Lives on the main thread; the database and the files are
// touched on worker threads between its waits.
class ActivityViewModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 activityTotalCount READ activityTotalCount NOTIFY activityTotalCountChanged)
    Q_PROPERTY(bool isLoadingActivity READ isLoadingActivity NOTIFY isLoadingActivityChanged)
    Q_PROPERTY(bool isLoadingMoreActivity READ isLoadingMoreActivity NOTIFY isLoadingMoreActivityChanged)
    Q_PROPERTY(bool isUndoingAll READ isUndoingAll NOTIFY isUndoingAllChanged)

public:
    static constexpr int FirstPageSize = 30;
    static constexpr int NextPageSize = 20;
    // Paging stops here; records added as they happen may go beyond.
    static constexpr int MaxLoadedRecords = 100;

    ActivityViewModel(Database &database, UndoIgnoreService &undoIgnore, QObject *parent = nullptr);

    const QList<ProcessedFile> &activityFiles() const { return m_activityFiles; }

    qint64 activityTotalCount() const { return m_activityTotalCount; }

    bool isLoadingActivity() const { return m_isLoadingActivity; }

    bool isLoadingMoreActivity() const { return m_isLoadingMoreActivity; }

    bool isUndoingAll() const { return m_isUndoingAll; }

    // completed, total
    QPair<qint64, qint64> undoAllProgress() const { return m_undoAllProgress; }

    // "Undoing 3 of 12"
    QString undoAllProgressText() const;

    // Tells the statistics side that its numbers may have changed.
    void setOnStatsAffectingChange(std::function<void()> callback) { m_onStatsAffectingChange = std::move(callback); }

    QCoro::Task<> loadActivity();
    QCoro::Task<> loadMoreActivity();
    // Loads the first page again only when another process changed the log
    // (a different count or newest record), so the pages already loaded
    // stay when nothing did.
    QCoro::Task<> reloadIfChanged();
    void addActivityFile(const ProcessedFile &record);

    // Everything undo needs is in the record: both paths, the hash and the
    // metadata snapshot.
    QCoro::Task<UndoOutcome> undo(ProcessedFile record);
    QCoro::Task<> undoAll();
    // Both forget records and never rename a file back; false when the
    // database refused, which is logged.
    QCoro::Task<bool> removeRecord(ProcessedFile record);
    QCoro::Task<bool> clearAll();

Q_SIGNALS:
    void activityFilesChanged();
    void activityTotalCountChanged();
    void isLoadingActivityChanged();
    void isLoadingMoreActivityChanged();
    void isUndoingAllChanged();
    void undoAllProgressChanged();
    // Once per undo, also for each record of undo all.
    void undoFinished(const Nomly::ProcessedFile &record, const Nomly::UndoOutcome &outcome);

private:
    void setActivityFiles(QList<ProcessedFile> files);
    void setActivityTotalCount(qint64 count);
    void setIsLoadingActivity(bool loading);
    void setIsLoadingMoreActivity(bool loading);
    void setIsUndoingAll(bool undoing);
    void setUndoAllProgress(qint64 completed, qint64 total);
    // Takes the record out of the window and the count.
    void retire(qint64 id);
    void notifyStatsAffectingChange();

    Database &m_database;
    UndoIgnoreService &m_undoIgnore;
    std::function<void()> m_onStatsAffectingChange;
    QList<ProcessedFile> m_activityFiles;
    qint64 m_activityTotalCount = 0;
    bool m_isLoadingActivity = false;
    bool m_isLoadingMoreActivity = false;
    bool m_isUndoingAll = false;
    QPair<qint64, qint64> m_undoAllProgress { 0, 0 };
};

} // namespace Nomly
