#include "history/database.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <array>

#include <sqlite3.h>

#include "history/databaseschema_p.h"
#include "history/processedfilemetadatasnapshotjson.h"
#include "history/sqlitestatement_p.h"
#include "platform/logcategories.h"
#include "platform/processmark.h"
#include "settings/analysissettingsjson.h"
#include "settings/settingsjson.h"

namespace Nomly {

namespace {

const QString FileName = QStringLiteral("nomly.db");

// Several processes may share one profile (the command line while the
// desktop program runs); a second writer waits this long instead of failing.
constexpr int BusyTimeoutMs = 5000;

QString storedUuid(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QString storedDate(const QDateTime &moment)
{
    return moment.toUTC().toString(Qt::ISODate);
}

// Accepts what other writers may have left too: fractions of a second and
// offsets other than Z.
QDateTime parsedDate(const QString &text)
{
    const QDateTime moment = QDateTime::fromString(text, Qt::ISODateWithMs);
    return moment.isValid() ? moment : QDateTime::currentDateTimeUtc();
}

QByteArray compactJson(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<AnalysisSettings> decodeAnalysisSettings(const QByteArray &json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return analysisSettingsFromJson(document.object());
}

Failure openFailure(const QString &filePath, const Failure &cause)
{
    return {
        QStringLiteral("Could not open the database %1: %2").arg(QDir::toNativeSeparators(filePath), cause.message),
        cause.code
    };
}

// Where each field sits in a result. Read by name, since "SELECT *" follows
// the table's own column order, which an upgraded file need not share.
struct ProcessedFileColumns
{
    explicit ProcessedFileColumns(const SqliteStatement &statement)
        : id(statement.columnIndex("id"))
        , originalPath(statement.columnIndex("original_path"))
        , newPath(statement.columnIndex("new_path"))
        , originalName(statement.columnIndex("original_name"))
        , newName(statement.columnIndex("new_name"))
        , title(statement.columnIndex("title"))
        , description(statement.columnIndex("description"))
        , tags(statement.columnIndex("tags"))
        , aiProvider(statement.columnIndex("ai_provider"))
        , processedAt(statement.columnIndex("processed_at"))
        , contentHash(statement.columnIndex("content_hash"))
        , isUndone(statement.columnIndex("is_undone"))
        , source(statement.columnIndex("source"))
        , metadataSnapshot(statement.columnIndex("metadata_snapshot"))
        , fileDevice(statement.columnIndex("file_device"))
        , fileInode(statement.columnIndex("file_inode"))
        , fileSize(statement.columnIndex("file_size"))
        , fileModifiedNs(statement.columnIndex("file_modified_ns"))
        , runId(statement.columnIndex("run_id"))
    {}

    int id;
    int originalPath;
    int newPath;
    int originalName;
    int newName;
    int title;
    int description;
    int tags;
    int aiProvider;
    int processedAt;
    int contentHash;
    int isUndone;
    int source;
    int metadataSnapshot;
    int fileDevice;
    int fileInode;
    int fileSize;
    int fileModifiedNs;
    int runId;
};

std::optional<FileIdentity> readFileIdentity(
    const SqliteStatement &row, int device, int inode, int size, int modifiedNs)
{
    for (const int column : { device, inode, size, modifiedNs }) {
        if (column < 0 || row.isNull(column))
            return std::nullopt;
    }
    return FileIdentity {
        quint64(row.integer(device)), quint64(row.integer(inode)), row.integer(size), row.integer(modifiedNs)
    };
}

ProcessedFile readProcessedFile(const SqliteStatement &row, const ProcessedFileColumns &column)
{
    ProcessedFile file;
    file.id = row.integer(column.id);
    file.originalPath = row.text(column.originalPath);
    file.newPath = row.text(column.newPath);
    file.originalName = row.text(column.originalName);
    file.newName = row.text(column.newName);
    file.title = row.text(column.title);
    file.description = row.text(column.description);
    file.tags = row.text(column.tags);
    file.aiProvider = row.text(column.aiProvider);
    file.processedAt = row.text(column.processedAt);
    if (!row.isNull(column.contentHash))
        file.contentHash = row.text(column.contentHash);
    file.isUndone = !row.isNull(column.isUndone) && row.integer(column.isUndone) == 1;
    // A snapshot that does not read leaves the row usable: undo then renames
    // the file back and leaves its metadata as it is.
    if (!row.isNull(column.metadataSnapshot)) {
        QString error;
        file.metadataSnapshot = processedFileMetadataSnapshotFromJson(row.bytes(column.metadataSnapshot), &error);
        if (!file.metadataSnapshot)
            qCWarning(lcDatabase, "Failed to decode metadata snapshot: %s", qUtf8Printable(error));
    }
    file.source = processedFileSourceFromRaw(row.text(column.source));
    file.fileIdentity
        = readFileIdentity(row, column.fileDevice, column.fileInode, column.fileSize, column.fileModifiedNs);
    if (!row.isNull(column.runId))
        file.runId = row.text(column.runId);
    return file;
}

Result<QList<ProcessedFile>> readProcessedFiles(SqliteStatement &statement)
{
    const ProcessedFileColumns columns(statement);
    QList<ProcessedFile> files;
    if (Result<> read = statement.forEachRow([&] { files.append(readProcessedFile(statement, columns)); }); !read)
        return read.failure();
    return files;
}

std::optional<Preset> readPreset(const SqliteStatement &row)
{
    const QString idText = row.text(0);
    const QUuid id = QUuid::fromString(idText);
    if (id.isNull())
        return std::nullopt;
    std::optional<AnalysisSettings> settings = decodeAnalysisSettings(row.bytes(6));
    if (!settings) {
        qCWarning(lcDatabase, "Failed to decode preset settings for id %s", qUtf8Printable(idText));
        return std::nullopt;
    }
    Preset preset;
    preset.id = id;
    preset.name = row.text(1);
    preset.description = row.text(2);
    preset.icon = presetIconFromRaw(row.text(3)).value_or(preset.icon);
    preset.color = presetColorFromRaw(row.text(4)).value_or(preset.color);
    if (!row.isNull(5))
        preset.bundledId = row.text(5);
    preset.settings = std::move(*settings);
    preset.createdAt = parsedDate(row.text(7));
    return preset;
}

std::optional<WatchedFolderConfig> readFolderConfig(const SqliteStatement &row)
{
    WatchedFolderConfig config;
    config.path = row.text(0);
    std::optional<AnalysisSettings> settings = decodeAnalysisSettings(row.bytes(2));
    if (!settings) {
        qCWarning(lcDatabase, "Failed to decode legacy folder settings for path %s", qUtf8Printable(config.path));
        return std::nullopt;
    }
    config.legacySettings = std::move(*settings);
    if (const QUuid presetId = QUuid::fromString(row.text(1)); !presetId.isNull())
        config.presetId = presetId;
    return config;
}

template<typename... Values> Result<qint64> queryCount(sqlite3 *connection, QByteArrayView sql, const Values &...values)
{
    SqliteStatement select(connection, sql);
    (select.bind(values), ...);
    qint64 count = 0;
    if (Result<> read = select.forEachRow([&] { count = select.integer(0); }); !read)
        return read.failure();
    return count;
}

template<typename... Values> Result<> executeWrite(sqlite3 *connection, QByteArrayView sql, const Values &...values)
{
    return inWriteTransaction(connection, [&] {
        SqliteStatement statement(connection, sql);
        (statement.bind(values), ...);
        return statement.execute();
    });
}

Result<QList<QPair<QString, qint64>>> queryGroupCounts(sqlite3 *connection,
                                                       QByteArrayView sql,
                                                       QByteArrayView keyColumn,
                                                       const std::optional<QString> &since)
{
    SqliteStatement select(connection, sql);
    if (since)
        select.bind(*since);
    const int key = select.columnIndex(keyColumn);
    const int count = select.columnIndex("cnt");
    QList<QPair<QString, qint64>> counts;
    if (Result<> read = select.forEachRow([&] { counts.append({ select.text(key), select.integer(count) }); }); !read)
        return read.failure();
    return counts;
}

// One activity row; pending, under `owner`, when an owner is given. The
// statistics event is the caller's: a pending row gets it at confirmation.
Result<qint64> insertRow(sqlite3 *connection, const ProcessedFile &record, const std::optional<QString> &owner)
{
    std::optional<QString> snapshot;
    if (record.metadataSnapshot)
        snapshot = QString::fromUtf8(compactJson(toJson(*record.metadataSnapshot)));
    const std::optional<FileIdentity> &identity = record.fileIdentity;
    SqliteStatement insert(connection,
                           "INSERT INTO processed_files \n"
                           "(original_path, new_path, original_name, new_name, title, description, tags, "
                           "ai_provider, processed_at, content_hash, is_undone, source, metadata_snapshot, pending, "
                           "pending_owner, file_device, file_inode, file_size, file_modified_ns, run_id)\n"
                           "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(record.originalPath)
        .bind(record.newPath)
        .bind(record.originalName)
        .bind(record.newName)
        .bind(record.title)
        .bind(record.description)
        .bind(record.tags)
        .bind(record.aiProvider)
        .bind(record.processedAt)
        .bind(record.contentHash)
        .bind(qint64(record.isUndone ? 1 : 0))
        .bind(rawValue(record.source))
        .bind(snapshot)
        .bind(qint64(owner ? 1 : 0))
        .bind(owner)
        .bind(identity ? std::optional<qint64>(qint64(identity->device)) : std::nullopt)
        .bind(identity ? std::optional<qint64>(qint64(identity->inode)) : std::nullopt)
        .bind(identity ? std::optional<qint64>(identity->size) : std::nullopt)
        .bind(identity ? std::optional<qint64>(identity->modifiedNs) : std::nullopt)
        .bind(record.runId);
    if (Result<> inserted = insert.execute(); !inserted)
        return inserted.failure();
    return qint64(sqlite3_last_insert_rowid(connection));
}

// Makes a pending row a done one and counts it for statistics. A row that
// another process confirmed already is done; a row that is gone (withdrawn
// by a reconciliation) fails: its file must not stay renamed on the
// strength of a record that is gone.
Result<> confirmRow(sqlite3 *connection, qint64 id)
{
    SqliteStatement select(connection,
                           "SELECT processed_at, source, new_path, pending FROM processed_files WHERE id = ?");
    select.bind(id);
    std::optional<std::array<QString, 3>> row;
    bool pending = false;
    if (Result<> read = select.forEachRow([&] {
            row = std::array<QString, 3> { select.text(0), select.text(1), select.text(2) };
            pending = select.integer(3) == 1;
        });
        !read)
        return read;
    if (!row)
        return Failure { QStringLiteral("The pending record %1 no longer exists").arg(id) };
    if (!pending)
        return {};
    SqliteStatement update(connection, "UPDATE processed_files SET pending = 0, pending_owner = NULL WHERE id = ?");
    update.bind(id);
    if (Result<> updated = update.execute(); !updated)
        return updated;
    return appendRenameEvent(connection, id, row->at(0), row->at(1), row->at(2));
}

struct PendingRow
{
    qint64 id = 0;
    QString originalPath;
    QString newPath;
    std::optional<FileIdentity> identity;
};

// Pending rows whose process has ended are settled by what the disk shows:
// the file at the new path confirms the rename, the file still at the old
// path (or nowhere) withdraws it. Rows of running processes are theirs.
Result<int> reconcilePending(sqlite3 *connection)
{
    SqliteStatement select(connection,
                           "SELECT id, original_path, new_path, pending_owner, file_device, file_inode, file_size, "
                           "file_modified_ns FROM processed_files WHERE pending = 1");
    QList<PendingRow> rows;
    const Result<> read = select.forEachRow([&] {
        if (!select.isNull(3) && ProcessMark::isRunning(select.text(3)))
            return;
        rows.append({ select.integer(0), select.text(1), select.text(2), readFileIdentity(select, 4, 5, 6, 7) });
    });
    if (!read)
        return read.failure();
    for (const PendingRow &row : rows) {
        // The same file object at the new name, and nothing left at the old
        // one: the move happened, even if the file was edited since.
        const std::optional<FileIdentity> atNew = FileIdentity::of(row.newPath);
        const bool moved = row.identity && atNew && atNew->device == row.identity->device
            && atNew->inode == row.identity->inode
            && (row.originalPath == row.newPath || !FileIdentity::of(row.originalPath));
        // A folder that cannot be reached now (an unmounted disk) says
        // nothing; the row waits for an open that can see it.
        if (!moved && !QFileInfo::exists(QFileInfo(row.newPath).absolutePath())) {
            qCInfo(lcDatabase).noquote() << "Left an interrupted rename pending; its folder is not reachable:"
                                         << QFileInfo(row.newPath).absolutePath();
            continue;
        }
        if (moved) {
            if (Result<> confirmed = confirmRow(connection, row.id); !confirmed)
                return confirmed.failure();
            qCInfo(lcDatabase).noquote() << "Confirmed the interrupted rename to" << row.newPath;
            continue;
        }
        SqliteStatement remove(connection, "DELETE FROM processed_files WHERE id = ?");
        remove.bind(row.id);
        if (Result<> removed = remove.execute(); !removed)
            return removed.failure();
        qCInfo(lcDatabase).noquote() << "Withdrew the interrupted rename of" << row.originalPath;
    }
    return int(rows.size());
}

} // namespace

Database::Database(QString filePath)
    : m_filePath(std::move(filePath))
{
    // One thread that never expires keeps queued work in order and avoids
    // starting a thread for each burst of activity.
    m_thread.setMaxThreadCount(1);
    m_thread.setExpiryTimeout(-1);
}

Database::~Database()
{
    m_thread.waitForDone();
    sqlite3_close(m_connection);
}

Result<std::unique_ptr<Database>> Database::open(const QString &directory)
{
    if (!QDir().mkpath(directory))
        return Failure { QStringLiteral("Could not create the folder %1").arg(QDir::toNativeSeparators(directory)) };

    std::unique_ptr<Database> database(new Database(QDir(directory).filePath(FileName)));
    sqlite3 *&connection = database->m_connection;
    const int code = sqlite3_open_v2(QFile::encodeName(database->m_filePath).constData(),
                                     &connection,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                                     nullptr);
    if (code != SQLITE_OK)
        return openFailure(database->m_filePath, sqliteFailure(connection, code));
    sqlite3_busy_timeout(connection, BusyTimeoutMs);

    // WAL lets readers in other processes go on while one writes. A file that
    // is not SQLite fails here, at its first read.
    Result<> ready = executeSql(connection, "PRAGMA journal_mode=WAL");
    if (ready)
        ready = inWriteTransaction(connection, [&] { return upgradeSchema(connection); });
    if (!ready)
        return openFailure(database->m_filePath, ready.failure());
    // Renames that a crash left between their move and their confirmation.
    // A failure here keeps them pending for the next open and stops nothing.
    if (const Result<int> settled = database->reconcilePendingProcessedFiles(); !settled)
        qCWarning(lcDatabase).noquote() << "Could not settle interrupted renames:" << settled.error();
    return Result<std::unique_ptr<Database>>(std::move(database));
}

Result<qint64> Database::insertProcessedFile(const ProcessedFile &record)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&]() -> Result<qint64> {
        const Result<qint64> id = insertRow(m_connection, record, std::nullopt);
        if (!id)
            return id;
        if (Result<> appended
            = appendRenameEvent(m_connection, id.value(), record.processedAt, rawValue(record.source), record.newPath);
            !appended)
            return appended.failure();
        return id;
    });
}

Result<qint64> Database::insertPendingProcessedFile(const ProcessedFile &record)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&] { return insertRow(m_connection, record, ProcessMark::current()); });
}

Result<> Database::confirmProcessedFile(qint64 id)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&] { return confirmRow(m_connection, id); });
}

Result<> Database::withdrawPendingProcessedFile(qint64 id)
{
    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection, "DELETE FROM processed_files WHERE id = ? AND pending = 1", id);
}

Result<QList<qint64>> Database::insertPendingProcessedFiles(const QList<ProcessedFile> &records)
{
    QMutexLocker locker(&m_mutex);
    const auto owner = ProcessMark::current();
    return inWriteTransaction(m_connection, [&]() -> Result<QList<qint64>> {
        QList<qint64> ids;
        ids.reserve(records.size());
        for (const ProcessedFile &record : records) {
            const Result<qint64> id = insertRow(m_connection, record, owner);
            if (!id)
                return id.failure();
            ids.append(id.value());
        }
        return ids;
    });
}

Result<> Database::confirmProcessedFiles(const QList<qint64> &ids)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&]() -> Result<> {
        for (const qint64 id : ids) {
            if (Result<> confirmed = confirmRow(m_connection, id); !confirmed)
                return confirmed;
        }
        return {};
    });
}

Result<> Database::withdrawPendingProcessedFiles(const QList<qint64> &ids)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&]() -> Result<> {
        for (const qint64 id : ids) {
            if (Result<> withdrawn
                = executeWrite(m_connection, "DELETE FROM processed_files WHERE id = ? AND pending = 1", id);
                !withdrawn)
                return withdrawn;
        }
        return {};
    });
}

Result<int> Database::reconcilePendingProcessedFiles()
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&] { return reconcilePending(m_connection); });
}

Result<QList<ProcessedFile>> Database::fetchActiveProcessedFiles(int limit,
                                                                 int offset,
                                                                 std::optional<ProcessedFileSource> source)
{
    QByteArray sql = "SELECT id, original_path, new_path, original_name, new_name, title, description, tags, "
                     "ai_provider, processed_at, content_hash, is_undone, source, metadata_snapshot, file_device, "
                     "file_inode, file_size, file_modified_ns, run_id\n"
                     "FROM processed_files\n"
                     "WHERE is_undone = 0 AND pending = 0";
    if (source)
        sql += " AND source = ?";
    // Times have whole seconds; the id keeps renames of one second newest
    // first too, which paging and undo all rely on. The index on processed_at
    // holds the row id, so it still serves the sort.
    sql += " ORDER BY processed_at DESC, id DESC LIMIT ? OFFSET ?";

    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection, sql);
    if (source)
        select.bind(rawValue(*source));
    select.bind(qint64(limit)).bind(qint64(offset));
    return readProcessedFiles(select);
}

Result<QList<ProcessedFile>> Database::fetchProcessedFiles(bool includeUndone,
                                                           std::optional<ProcessedFileSource> source)
{
    QByteArray sql = "SELECT * FROM processed_files WHERE pending = 0";
    if (!includeUndone)
        sql += " AND is_undone = 0";
    if (source)
        sql += " AND source = ?";
    sql += " ORDER BY processed_at DESC, id DESC";

    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection, sql);
    if (source)
        select.bind(rawValue(*source));
    return readProcessedFiles(select);
}

Result<std::optional<QString>> Database::lastRunId()
{
    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection,
                           "SELECT run_id FROM processed_files\n"
                           "WHERE is_undone = 0 AND pending = 0\n"
                           "ORDER BY processed_at DESC, id DESC LIMIT 1");
    std::optional<QString> runId;
    if (Result<> read = select.forEachRow([&] {
            if (!select.isNull(0))
                runId = select.text(0);
        });
        !read)
        return read.failure();
    return runId;
}

Result<QList<ProcessedFile>> Database::fetchRunProcessedFiles(const QString &runId)
{
    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection,
                           "SELECT * FROM processed_files\n"
                           "WHERE run_id = ? AND is_undone = 0 AND pending = 0\n"
                           "ORDER BY processed_at DESC, id DESC");
    select.bind(runId);
    return readProcessedFiles(select);
}

Result<qint64> Database::countActiveProcessedFiles(std::optional<ProcessedFileSource> source)
{
    QMutexLocker locker(&m_mutex);
    if (source) {
        return queryCount(m_connection,
                          "SELECT COUNT(*) FROM processed_files WHERE is_undone = 0 AND pending = 0 AND source = ?",
                          rawValue(*source));
    }
    return queryCount(m_connection, "SELECT COUNT(*) FROM processed_files WHERE is_undone = 0 AND pending = 0");
}

Result<> Database::markUndone(qint64 id)
{
    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection, "UPDATE processed_files SET is_undone = 1 WHERE id = ? AND pending = 0", id);
}

Result<> Database::deleteProcessedFile(qint64 id)
{
    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection, "DELETE FROM processed_files WHERE id = ? AND pending = 0", id);
}

Result<> Database::deleteAllProcessedFiles()
{
    QMutexLocker locker(&m_mutex);
    // Renames in flight in another process keep their pending records.
    return executeWrite(m_connection, "DELETE FROM processed_files WHERE pending = 0");
}

Result<bool> Database::isPathProcessed(const QString &path)
{
    QMutexLocker locker(&m_mutex);
    const Result<qint64> count = queryCount(m_connection,
                                            "SELECT COUNT(*) FROM processed_files \n"
                                            "WHERE new_path = ?\n"
                                            "AND is_undone = 0 AND pending = 0",
                                            path);
    if (!count)
        return count.failure();
    return count.value() > 0;
}

Result<bool> Database::isHashProcessed(const QString &hash)
{
    QMutexLocker locker(&m_mutex);
    const Result<qint64> count = queryCount(m_connection,
                                            "SELECT COUNT(*) FROM processed_files\n"
                                            "WHERE content_hash = ?\n"
                                            "AND is_undone = 0 AND pending = 0",
                                            hash);
    if (!count)
        return count.failure();
    return count.value() > 0;
}

Result<bool> Database::isHashUndone(const QString &hash)
{
    QMutexLocker locker(&m_mutex);
    const Result<qint64> count = queryCount(m_connection,
                                            "SELECT COUNT(*) FROM processed_files\n"
                                            "WHERE content_hash = ? AND is_undone = 1",
                                            hash);
    if (!count)
        return count.failure();
    return count.value() > 0;
}

Result<StatsAggregates> Database::fetchStatsAggregates(const QString &monthStart,
                                                       const QString &previousMonthStart,
                                                       const std::optional<QString> &dailySince)
{
    QByteArray dailySql = "SELECT date(processed_at, 'localtime') AS day, COUNT(*) AS cnt\n"
                          "FROM rename_statistics_events";
    if (dailySince)
        dailySql += " WHERE processed_at >= ?";
    dailySql += "\nGROUP BY day\nORDER BY day";

    QMutexLocker locker(&m_mutex);
    // One read transaction, so that every figure comes from the same state of
    // the file even while another process writes.
    return inReadTransaction(m_connection, [&]() -> Result<StatsAggregates> {
        StatsAggregates stats;
        const Result<qint64> total = queryCount(m_connection, "SELECT COUNT(*) FROM rename_statistics_events");
        if (!total)
            return total.failure();
        stats.total = total.value();

        const Result<qint64> month = queryCount(
            m_connection, "SELECT COUNT(*) FROM rename_statistics_events WHERE processed_at >= ?", monthStart);
        if (!month)
            return month.failure();
        stats.monthCount = month.value();

        const Result<qint64> previousMonth = queryCount(m_connection,
                                                        "SELECT COUNT(*)\n"
                                                        "FROM rename_statistics_events\n"
                                                        "WHERE processed_at >= ?\n"
                                                        "  AND processed_at < ?",
                                                        previousMonthStart,
                                                        monthStart);
        if (!previousMonth)
            return previousMonth.failure();
        stats.previousMonthCount = previousMonth.value();

        const Result<qint64> monitor = queryCount(m_connection,
                                                  "SELECT COUNT(*) FROM rename_statistics_events WHERE source = ?",
                                                  rawValue(ProcessedFileSource::Watcher));
        if (!monitor)
            return monitor.failure();
        stats.monitorCount = monitor.value();

        Result<QList<QPair<QString, qint64>>> daily = queryGroupCounts(m_connection, dailySql, "day", dailySince);
        if (!daily)
            return daily.failure();
        stats.dailyCounts = std::move(daily).value();

        SqliteStatement days(m_connection,
                             "SELECT DISTINCT date(processed_at, 'localtime')\n"
                             "FROM rename_statistics_events");
        if (Result<> read = days.forEachRow([&] { stats.activeDays.append(days.text(0)); }); !read)
            return read.failure();

        Result<QList<QPair<QString, qint64>>> extensions = queryGroupCounts(m_connection,
                                                                            "SELECT file_extension, COUNT(*) AS cnt\n"
                                                                            "FROM rename_statistics_events\n"
                                                                            "WHERE file_extension <> ''\n"
                                                                            "GROUP BY file_extension",
                                                                            "file_extension",
                                                                            std::nullopt);
        if (!extensions)
            return extensions.failure();
        stats.extensionCounts = std::move(extensions).value();
        return stats;
    });
}

Result<QList<Preset>> Database::loadPresets()
{
    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection,
                           "SELECT id, name, description, icon, color, bundled_id, settings_json, created_at FROM "
                           "presets ORDER BY created_at ASC");
    QList<Preset> presets;
    const Result<> read = select.forEachRow([&] {
        if (std::optional<Preset> preset = readPreset(select))
            presets.append(std::move(*preset));
    });
    if (!read)
        return read.failure();
    return presets;
}

Result<> Database::savePreset(const Preset &preset)
{
    const QByteArray settingsJson = compactJson(toJson(preset.settings));
    const QString createdAt = storedDate(preset.createdAt);

    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection,
                        "INSERT OR REPLACE INTO presets (id, name, description, icon, color, bundled_id, "
                        "settings_json, created_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                        storedUuid(preset.id),
                        preset.name,
                        preset.description,
                        rawValue(preset.icon),
                        rawValue(preset.color),
                        preset.bundledId,
                        settingsJson,
                        createdAt);
}

Result<> Database::deletePreset(const QUuid &id)
{
    const QString storedId = storedUuid(id);

    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&] {
        Result<> folders
            = SqliteStatement(m_connection, "DELETE FROM folder_configs WHERE preset_id = ?").bind(storedId).execute();
        if (!folders)
            return folders;
        return SqliteStatement(m_connection, "DELETE FROM presets WHERE id = ?").bind(storedId).execute();
    });
}

Result<int> Database::updatePresetSettings(
    const std::function<bool(const PresetSettingsRow &, AnalysisSettings &)> &change, const QString &decodeFailureLog)
{
    QMutexLocker locker(&m_mutex);
    return inWriteTransaction(m_connection, [&]() -> Result<int> {
        SqliteStatement select(m_connection, "SELECT id, name, bundled_id, settings_json FROM presets");
        QList<QPair<QString, QByteArray>> changed;
        const Result<> read = select.forEachRow([&] {
            const PresetSettingsRow row { select.text(0),
                                          select.text(1),
                                          select.isNull(2) ? std::nullopt : std::optional(select.text(2)) };
            std::optional<AnalysisSettings> settings = decodeAnalysisSettings(select.text(3).toUtf8());
            if (!settings) {
                qCCritical(lcDatabase).noquote() << decodeFailureLog + row.id;
                return;
            }
            if (change(row, *settings))
                changed.append({ row.id, compactJson(toJson(*settings)) });
        });
        if (!read)
            return read.failure();
        for (const auto &[id, json] : std::as_const(changed)) {
            const Result<> written = SqliteStatement(m_connection, "UPDATE presets SET settings_json = ? WHERE id = ?")
                                         .bind(json)
                                         .bind(id)
                                         .execute();
            if (!written)
                return written.failure();
        }
        return int(changed.size());
    });
}

Result<QHash<QString, WatchedFolderConfig>> Database::loadFolderConfigs()
{
    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection, "SELECT path, preset_id, overrides_json FROM folder_configs");
    QHash<QString, WatchedFolderConfig> configs;
    const Result<> read = select.forEachRow([&] {
        if (std::optional<WatchedFolderConfig> config = readFolderConfig(select))
            configs.insert(config->path, std::move(*config));
    });
    if (!read)
        return read.failure();
    return configs;
}

Result<> Database::saveFolderConfig(const WatchedFolderConfig &config)
{
    const QByteArray overridesJson = compactJson(toJson(config.legacySettings));
    const std::optional<QString> presetId
        = config.presetId ? std::optional(storedUuid(*config.presetId)) : std::nullopt;

    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection,
                        "INSERT OR REPLACE INTO folder_configs (path, preset_id, overrides_json) VALUES (?, ?, ?)",
                        config.path,
                        presetId,
                        overridesJson);
}

Result<> Database::deleteFolderConfig(const QString &path)
{
    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection, "DELETE FROM folder_configs WHERE path = ?", path);
}

Result<> Database::saveSettings(const Settings &settings)
{
    const QByteArray data = settingsToJsonBytes(settings);

    QMutexLocker locker(&m_mutex);
    return executeWrite(m_connection, "INSERT OR REPLACE INTO settings (id, data) VALUES (1, ?)", data);
}

Result<std::optional<Settings>> Database::loadSettings()
{
    const Result<std::optional<QByteArray>> data = loadSettingsData();
    if (!data)
        return data.failure();
    if (!data.value())
        return std::optional<Settings>();

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(*data.value(), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return Failure { parseError.errorString() };
    if (!document.isObject())
        return Failure { QStringLiteral("The stored settings are not a JSON object") };
    QString error;
    std::optional<Settings> settings = settingsFromJson(document.object(), &error);
    if (!settings)
        return Failure { error };
    return settings;
}

Result<std::optional<QByteArray>> Database::loadSettingsData()
{
    QMutexLocker locker(&m_mutex);
    SqliteStatement select(m_connection, "SELECT data FROM settings WHERE id = 1");
    std::optional<QByteArray> data;
    if (Result<> read = select.forEachRow([&] { data = select.bytes(0); }); !read)
        return read.failure();
    return data;
}

} // namespace Nomly
