#include <QFileInfo>
#include <QList>
#include <QSet>
#include <QStringList>
#include <functional>

#include "history/databaseschema_p.h"
#include "history/processedfile.h"
#include "history/sqlitestatement_p.h"
#include "platform/logcategories.h"

namespace Nomly {

namespace {

// A column that later versions added to a table that already existed.
struct AddedColumn
{
    const char *name;
    const char *alter;
    const char *logLine;
};

constexpr AddedColumn ProcessedFilesAddedColumns[] = {
    { "content_hash",
      "ALTER TABLE processed_files ADD COLUMN content_hash TEXT",
      "Database migration: Added content_hash column" },
    { "is_undone",
      "ALTER TABLE processed_files ADD COLUMN is_undone INTEGER NOT NULL DEFAULT 0",
      "Database migration: Added is_undone column" },
    { "source",
      "ALTER TABLE processed_files ADD COLUMN source TEXT NOT NULL DEFAULT 'watcher'",
      "Database migration: Added source column" },
    { "metadata_snapshot",
      "ALTER TABLE processed_files ADD COLUMN metadata_snapshot TEXT",
      "Database migration: Added metadata_snapshot column" },
    // The rename journal: a record is written pending before its file moves
    // and confirmed after, with the identity of the file it moves.
    { "pending",
      "ALTER TABLE processed_files ADD COLUMN pending INTEGER NOT NULL DEFAULT 0",
      "Database migration: Added pending column" },
    { "pending_owner",
      "ALTER TABLE processed_files ADD COLUMN pending_owner TEXT",
      "Database migration: Added pending_owner column" },
    { "file_device",
      "ALTER TABLE processed_files ADD COLUMN file_device INTEGER",
      "Database migration: Added file_device column" },
    { "file_inode",
      "ALTER TABLE processed_files ADD COLUMN file_inode INTEGER",
      "Database migration: Added file_inode column" },
    { "file_size",
      "ALTER TABLE processed_files ADD COLUMN file_size INTEGER",
      "Database migration: Added file_size column" },
    { "file_modified_ns",
      "ALTER TABLE processed_files ADD COLUMN file_modified_ns INTEGER",
      "Database migration: Added file_modified_ns column" },
};

// `description` is left out of the presets table's create statement, so a new
// file gets it here too.
constexpr AddedColumn PresetsAddedColumns[] = {
    { "description",
      "ALTER TABLE presets ADD COLUMN description TEXT NOT NULL DEFAULT ''",
      "Database migration: Added presets.description column" },
    { "icon",
      "ALTER TABLE presets ADD COLUMN icon TEXT NOT NULL DEFAULT ''",
      "Database migration: Added presets.icon column" },
    { "color",
      "ALTER TABLE presets ADD COLUMN color TEXT NOT NULL DEFAULT ''",
      "Database migration: Added presets.color column" },
    { "bundled_id",
      "ALTER TABLE presets ADD COLUMN bundled_id TEXT",
      "Database migration: Added presets.bundled_id column" },
};

constexpr const char *CreateSettings = "CREATE TABLE IF NOT EXISTS settings (\n"
                                       "    id INTEGER PRIMARY KEY,\n"
                                       "    data TEXT NOT NULL\n"
                                       ")";

constexpr const char *CreateProcessedFiles = "CREATE TABLE IF NOT EXISTS processed_files (\n"
                                             "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                             "    original_path TEXT NOT NULL,\n"
                                             "    new_path TEXT NOT NULL,\n"
                                             "    original_name TEXT NOT NULL,\n"
                                             "    new_name TEXT NOT NULL,\n"
                                             "    title TEXT NOT NULL,\n"
                                             "    description TEXT,\n"
                                             "    tags TEXT,\n"
                                             "    ai_provider TEXT NOT NULL,\n"
                                             "    processed_at TEXT NOT NULL,\n"
                                             "    content_hash TEXT,\n"
                                             "    is_undone INTEGER NOT NULL DEFAULT 0,\n"
                                             "    source TEXT NOT NULL DEFAULT 'watcher',\n"
                                             "    metadata_snapshot TEXT,\n"
                                             "    pending INTEGER NOT NULL DEFAULT 0,\n"
                                             "    pending_owner TEXT,\n"
                                             "    file_device INTEGER,\n"
                                             "    file_inode INTEGER,\n"
                                             "    file_size INTEGER,\n"
                                             "    file_modified_ns INTEGER,\n"
                                             "    run_id TEXT\n"
                                             ")";

constexpr const char *ProcessedFilesIndexes[] = {
    "CREATE INDEX IF NOT EXISTS idx_processed_at ON processed_files(processed_at)",
    "CREATE INDEX IF NOT EXISTS idx_content_hash ON processed_files(content_hash)",
    "CREATE INDEX IF NOT EXISTS idx_source ON processed_files(source)",
    "CREATE INDEX IF NOT EXISTS idx_processed_files_active_processed_at\n"
    "ON processed_files(processed_at)\n"
    "WHERE is_undone = 0",
    "CREATE INDEX IF NOT EXISTS idx_processed_files_active_source\n"
    "ON processed_files(source)\n"
    "WHERE is_undone = 0",
    "CREATE INDEX IF NOT EXISTS idx_processed_files_active_new_path\n"
    "ON processed_files(new_path)\n"
    "WHERE is_undone = 0",
    "CREATE INDEX IF NOT EXISTS idx_processed_files_pending\n"
    "ON processed_files(id)\n"
    "WHERE pending = 1",
};

// Every record of one command, batch or quick rename names its run, so that
// the run can be taken back as a whole. Rows from before keep NULL. Undo finds
// the newest record through the processed_at index and then the rest of its
// run through this one, newest first.
constexpr AddedColumn ProcessedFilesRunColumn[] = {
    { "run_id", "ALTER TABLE processed_files ADD COLUMN run_id TEXT", "Database migration: Added run_id column" },
};

constexpr const char *ProcessedFilesRunIndexes[] = {
    "CREATE INDEX IF NOT EXISTS idx_processed_files_active_run\n"
    "ON processed_files(run_id, processed_at)\n"
    "WHERE is_undone = 0",
};

constexpr const char *CreateRenameStatisticsEvents = "CREATE TABLE IF NOT EXISTS rename_statistics_events (\n"
                                                     "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                                     "    processed_file_id INTEGER,\n"
                                                     "    processed_at TEXT NOT NULL,\n"
                                                     "    source TEXT NOT NULL,\n"
                                                     "    file_extension TEXT NOT NULL\n"
                                                     ")";

// The unique partial index is what lets the backfill run on every open: an
// activity row has at most one event, and events without a link stay legal.
constexpr const char *RenameStatisticsIndexes[] = {
    "CREATE INDEX IF NOT EXISTS idx_rename_statistics_processed_at ON rename_statistics_events(processed_at)",
    "CREATE INDEX IF NOT EXISTS idx_rename_statistics_source ON rename_statistics_events(source)",
    "CREATE INDEX IF NOT EXISTS idx_rename_statistics_file_extension ON rename_statistics_events(file_extension)",
    "CREATE UNIQUE INDEX IF NOT EXISTS idx_rename_statistics_processed_file_id\n"
    "ON rename_statistics_events(processed_file_id)\n"
    "WHERE processed_file_id IS NOT NULL",
};

constexpr const char *CreatePresets = "CREATE TABLE IF NOT EXISTS presets (\n"
                                      "    id TEXT PRIMARY KEY,\n"
                                      "    name TEXT NOT NULL,\n"
                                      "    settings_json TEXT NOT NULL,\n"
                                      "    created_at TEXT NOT NULL,\n"
                                      "    icon TEXT NOT NULL DEFAULT '',\n"
                                      "    color TEXT NOT NULL DEFAULT '',\n"
                                      "    bundled_id TEXT\n"
                                      ")";

constexpr const char *CreateFolderConfigs = "CREATE TABLE IF NOT EXISTS folder_configs (\n"
                                            "    path TEXT PRIMARY KEY,\n"
                                            "    preset_id TEXT,\n"
                                            "    overrides_json TEXT NOT NULL\n"
                                            ")";

template<std::size_t N> Result<> executeAll(sqlite3 *connection, const char *const (&statements)[N])
{
    for (const char *sql : statements) {
        if (Result<> done = executeSql(connection, sql); !done)
            return done;
    }
    return {};
}

Result<QSet<QString>> columnNames(sqlite3 *connection, const char *table)
{
    const QByteArray sql = QByteArray("PRAGMA table_info(") + table + ')';
    SqliteStatement statement(connection, sql);
    const int name = statement.columnIndex("name");
    QSet<QString> names;
    if (Result<> read = statement.forEachRow([&] { names.insert(statement.text(name)); }); !read)
        return read.failure();
    return names;
}

template<std::size_t N>
Result<> addMissingColumns(sqlite3 *connection, const char *table, const AddedColumn (&columns)[N])
{
    const Result<QSet<QString>> existing = columnNames(connection, table);
    if (!existing)
        return existing.failure();
    for (const AddedColumn &column : columns) {
        if (existing.value().contains(QString::fromLatin1(column.name)))
            continue;
        if (Result<> added = executeSql(connection, column.alter); !added)
            return added;
        qCInfo(lcDatabase, "%s", column.logLine);
    }
    return {};
}

Result<> addRuns(sqlite3 *connection)
{
    if (Result<> added = addMissingColumns(connection, "processed_files", ProcessedFilesRunColumn); !added)
        return added;
    return executeAll(connection, ProcessedFilesRunIndexes);
}

struct UnloggedRow
{
    qint64 id = 0;
    QString processedAt;
    QString source;
    QString newPath;
};

// Rows are read in full before the first insert, so that the inserts never
// change the table the query is still walking.
Result<> backfillRenameEvents(sqlite3 *connection)
{
    SqliteStatement select(connection,
                           "SELECT id, processed_at, source, new_path\n"
                           "FROM processed_files\n"
                           "WHERE pending = 0 AND NOT EXISTS (\n"
                           "    SELECT 1\n"
                           "    FROM rename_statistics_events\n"
                           "    WHERE rename_statistics_events.processed_file_id = processed_files.id\n"
                           ")");
    QList<UnloggedRow> rows;
    // A NULL source reads as the watcher everywhere else, so it is counted as
    // one here too.
    const Result<> read = select.forEachRow([&] {
        rows.append({ select.integer(0),
                      select.text(1),
                      select.isNull(2) ? rawValue(ProcessedFileSource::Watcher) : select.text(2),
                      select.text(3) });
    });
    if (!read)
        return read;
    for (const UnloggedRow &row : rows) {
        if (Result<> appended = appendRenameEvent(connection, row.id, row.processedAt, row.source, row.newPath);
            !appended)
            return appended;
    }
    return {};
}

} // namespace

Result<> upgradeSchema(sqlite3 *connection)
{
    // The steps look at the whole history (the backfill walks every row), so
    // a file records in its user_version that it has been through them, and
    // later opens cost the same however long the history. A new step comes
    // with a new CurrentSchemaVersion.
    constexpr int CurrentSchemaVersion = 1;
    SqliteStatement version(connection, "PRAGMA user_version");
    int stored = 0;
    if (Result<> read = version.forEachRow([&] { stored = int(version.integer(0)); }); !read)
        return read;
    if (stored >= CurrentSchemaVersion)
        return {};
    const std::initializer_list<std::function<Result<>()>> steps = {
        [&] { return executeSql(connection, CreateSettings); },
        [&] { return executeSql(connection, CreateProcessedFiles); },
        [&] { return addMissingColumns(connection, "processed_files", ProcessedFilesAddedColumns); },
        [&] { return executeAll(connection, ProcessedFilesIndexes); },
        [&] { return addRuns(connection); },
        [&] { return executeSql(connection, CreateRenameStatisticsEvents); },
        [&] { return executeAll(connection, RenameStatisticsIndexes); },
        [&] { return backfillRenameEvents(connection); },
        [&] { return executeSql(connection, CreatePresets); },
        [&] { return addMissingColumns(connection, "presets", PresetsAddedColumns); },
        [&] { return executeSql(connection, CreateFolderConfigs); },
    };
    for (const auto &step : steps) {
        if (Result<> done = step(); !done)
            return done;
    }
    const QByteArray record = "PRAGMA user_version = " + QByteArray::number(CurrentSchemaVersion);
    return executeSql(connection, record);
}

Result<> appendRenameEvent(sqlite3 *connection,
                           qint64 processedFileId,
                           const QString &processedAt,
                           const QString &source,
                           const QString &newPath)
{
    // A dot file such as ".bashrc" is all name and no extension, as in the
    // renamer.
    const QFileInfo file(newPath);
    const QString extension = file.completeBaseName().isEmpty() ? QString() : file.suffix().toLower();
    SqliteStatement insert(connection,
                           "INSERT INTO rename_statistics_events (processed_file_id, processed_at, source, "
                           "file_extension)\n"
                           "VALUES (?, ?, ?, ?)");
    insert.bind(processedFileId).bind(processedAt).bind(source).bind(extension);
    return insert.execute();
}

} // namespace Nomly
