#pragma once

#include <QFuture>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QThreadPool>
#include <QUuid>
#include <functional>
#include <memory>
#include <optional>

#include <QtConcurrent/QtConcurrentRun>

#include "history/processedfile.h"
#include "history/statsaggregates.h"
#include "platform/result.h"
#include "settings/preset.h"
#include "settings/settings.h"
#include "settings/watchedfolderconfig.h"

struct sqlite3;

namespace Nomly {

// The one SQLite file of a profile: the activity log, the rename events that
// statistics count, and the stored settings, templates and folder
// configurations. Nothing else in the program writes SQL.
//
// All statements go through one connection, one at a time, so the methods may
// be called from any thread. `run` puts work on the database's own thread,
// which keeps SQLite off the thread that draws the interface.
class Database final
{
public:
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // Creates `directory` and `nomly.db` in it when missing, and brings an
    // older file up to the current schema. A file from another program, or
    // one that cannot be upgraded, fails the open.
    static Result<std::unique_ptr<Database>> open(const QString &directory);

    QString filePath() const { return m_filePath; }

    // Runs `work(*this)` on the database's thread.
    template<typename Work> auto run(Work work) -> QFuture<std::invoke_result_t<Work, Database &>>
    {
        return QtConcurrent::run(&m_thread, [this, work = std::move(work)]() mutable { return work(*this); });
    }

    // Blocks until the work put on the database's thread has ended; an owner
    // of state that queued work reads calls it before that state goes.
    void waitForPendingWork() { m_thread.waitForDone(); }

    // Activity. Inserting also appends the rename event for statistics, in
    // the same transaction.
    Result<qint64> insertProcessedFile(const ProcessedFile &record);

    // The rename journal. A record is written pending, with the identity of
    // the file, before the file moves; confirming it after the move makes it
    // a done record with its statistics event, in one transaction; a failed
    // move withdraws it. Pending records are never listed, counted or
    // undone. Opening the database settles those whose process has ended.
    Result<qint64> insertPendingProcessedFile(const ProcessedFile &record);
    Result<> confirmProcessedFile(qint64 id);
    Result<> withdrawPendingProcessedFile(qint64 id);
    // The same for a group of files, each step one transaction for the whole
    // group: all pending records or none, all confirmations or none.
    Result<QList<qint64>> insertPendingProcessedFiles(const QList<ProcessedFile> &records);
    Result<> confirmProcessedFiles(const QList<qint64> &ids);
    Result<> withdrawPendingProcessedFiles(const QList<qint64> &ids);
    // How many were settled.
    Result<int> reconcilePendingProcessedFiles();
    Result<QList<ProcessedFile>> fetchActiveProcessedFiles(int limit,
                                                           int offset,
                                                           std::optional<ProcessedFileSource> source = std::nullopt);
    Result<QList<ProcessedFile>> fetchProcessedFiles(bool includeUndone,
                                                     std::optional<ProcessedFileSource> source = std::nullopt);
    Result<qint64> countActiveProcessedFiles(std::optional<ProcessedFileSource> source = std::nullopt);
    // Runs: the run of the newest active record, none when there is no
    // active record or the newest one has no run (it then stands alone).
    Result<std::optional<QString>> lastRunId();
    // The active records of one run, newest first: the order that takes its
    // moves back in reverse.
    Result<QList<ProcessedFile>> fetchRunProcessedFiles(const QString &runId);
    Result<> markUndone(qint64 id);
    Result<> deleteProcessedFile(qint64 id);
    Result<> deleteAllProcessedFiles();
    Result<bool> isPathProcessed(const QString &path);
    Result<bool> isHashProcessed(const QString &hash);
    // Whether a rename of this content was taken back: the user kept the
    // old name, so Monitor does not give it a new one again.
    Result<bool> isHashUndone(const QString &hash);

    // Statistics; the bounds are stored-form UTC strings.
    Result<StatsAggregates> fetchStatsAggregates(const QString &monthStart,
                                                 const QString &previousMonthStart,
                                                 const std::optional<QString> &dailySince);

    // Templates, oldest first. Rows that do not read are dropped, each logged.
    Result<QList<Preset>> loadPresets();
    Result<> savePreset(const Preset &preset);
    // Removes the folder configurations that use the template as well.
    Result<> deletePreset(const QUuid &id);

    // A stored template as the one-shot migrations see it.
    struct PresetSettingsRow
    {
        QString id;
        QString name;
        std::optional<QString> bundledId;
    };

    // Walks every stored template and writes back, in one transaction, the
    // settings that `change` altered (it returns true for those). A row whose
    // settings do not decode is logged with `decodeFailureLog` and the id,
    // and skipped. Returns how many rows were written.
    Result<int> updatePresetSettings(const std::function<bool(const PresetSettingsRow &, AnalysisSettings &)> &change,
                                     const QString &decodeFailureLog);

    Result<QHash<QString, WatchedFolderConfig>> loadFolderConfigs();
    Result<> saveFolderConfig(const WatchedFolderConfig &config);
    Result<> deleteFolderConfig(const QString &path);

    Result<> saveSettings(const Settings &settings);
    // None when the profile has no stored settings yet; a row that does not
    // decode fails with the decoder's message.
    Result<std::optional<Settings>> loadSettings();
    // The stored JSON as it is, for migrations that read keys `Settings` no
    // longer has.
    Result<std::optional<QByteArray>> loadSettingsData();

private:
    explicit Database(QString filePath);

    QString m_filePath;
    sqlite3 *m_connection = nullptr;
    QMutex m_mutex; // one statement sequence at a time on the connection
    QThreadPool m_thread;
};

} // namespace Nomly
