// The history database on real SQLite files, as older versions left them.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sqlite3.h>

#include <QtConcurrent/QtConcurrentRun>

#include "history/database.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::optional<Nomly::ProcessedFileMetadataSnapshot>)

namespace {

// Collects what the database logs.
class DatabaseLog final
{
public:
    DatabaseLog()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(&DatabaseLog::handle);
    }

    ~DatabaseLog() { qInstallMessageHandler(s_previous); }

    QStringList lines() const { return s_lines; }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (QByteArrayView(context.category) == "com.nomly.app.Database")
            return s_lines.append(message);
        s_previous(type, context, message);
    }

    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

// Rows of `sql`, columns joined with "|", through a connection of its own.
QStringList rawQuery(const QString &file, const QString &sql)
{
    const auto collect = [](void *rows, int count, char **values, char **) {
        QStringList columns;
        for (int column = 0; column < count; ++column)
            columns.append(QString::fromUtf8(values[column]));
        static_cast<QStringList *>(rows)->append(columns.join(u'|'));
        return 0;
    };
    sqlite3 *connection = nullptr;
    sqlite3_open(QFile::encodeName(file).constData(), &connection);
    sqlite3_busy_timeout(connection, 5000);
    QStringList rows;
    char *error = nullptr;
    if (sqlite3_exec(connection, sql.toUtf8().constData(), collect, &rows, &error) != SQLITE_OK)
        qFatal("%s: %s", error, qPrintable(sql));
    sqlite3_close(connection);
    return rows;
}

std::unique_ptr<Database> openIn(const QString &directory)
{
    Result<std::unique_ptr<Database>> opened = Database::open(directory);
    return opened ? std::move(opened).value() : (qWarning() << opened.error(), nullptr);
}

ProcessedFile record(const QString &newPath, const QString &at)
{
    ProcessedFile file;
    file.originalPath = u"/home/u/Downloads/scan.pdf"_s;
    file.newPath = newPath;
    file.originalName = file.newName = QFileInfo(newPath).fileName();
    file.aiProvider = u"file-metadata"_s;
    file.processedAt = at;
    return file;
}

QStringList newPaths(const QList<ProcessedFile> &files)
{
    QStringList paths;
    for (const ProcessedFile &file : files)
        paths.append(file.newPath);
    return paths;
}

// "-" for a record without a run.
QStringList runIds(const QList<ProcessedFile> &files)
{
    QStringList runs;
    for (const ProcessedFile &file : files)
        runs.append(file.runId.value_or(u"-"_s));
    return runs;
}

} // namespace

class DatabaseTest : public QObject
{
    Q_OBJECT

private:
    QString filePath() const { return m_dir->filePath(u"nomly.db"_s); }

    StatsAggregates stats() { return m_db->fetchStatsAggregates(u"2024-01-01T00:00:00Z"_s, {}, {}).value(); }

    std::optional<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_db;

private slots:

    void init()
    {
        m_db.reset();
        m_dir.emplace();
        m_db = openIn(m_dir->path());
        QVERIFY(m_db);
    }

    // The second open finds nothing to do: no log, the same schema, no
    // further events.
    void upgradeFromEarliestLayout()
    {
        const QString profile = m_dir->filePath(u"other"_s);
        QVERIFY(QDir().mkdir(profile));
        const QString file = profile + u"/nomly.db"_s;
        // The first layout: the activity log without the four later columns,
        // templates without description, icon, color and demo id.
        rawQuery(file,
                 u"CREATE TABLE processed_files (id INTEGER PRIMARY KEY AUTOINCREMENT, original_path TEXT NOT NULL, "
                 "new_path TEXT NOT NULL, original_name TEXT NOT NULL, new_name TEXT NOT NULL, title TEXT NOT NULL, "
                 "description TEXT, tags TEXT, ai_provider TEXT NOT NULL, processed_at TEXT NOT NULL);"
                 "CREATE TABLE presets (id TEXT PRIMARY KEY, name TEXT NOT NULL, settings_json TEXT NOT NULL, "
                 "created_at TEXT NOT NULL);"
                 "INSERT INTO processed_files VALUES (1, '/a/x', '/a/Report.PDF', 'x', 'Report.PDF', 'R', NULL, "
                 "NULL, 'gemini', '2024-01-01T10:00:00Z'), (2, '/a/y', '/a/README', 'y', 'README', '', '', "
                 "'a, b', 'gemini', '2024-01-02T10:00:00Z');"
                 "INSERT INTO presets VALUES ('0B9F5C2E-3D4A-4F6B-8C7D-1E2F3A4B5C6D', 'Old', '{}', "
                 "'2023-05-01T08:00:00Z');"_s);
        QStringList firstLog;
        for (const char16_t *column : { u"content_hash",
                                        u"is_undone",
                                        u"source",
                                        u"metadata_snapshot",
                                        u"pending",
                                        u"pending_owner",
                                        u"file_device",
                                        u"file_inode",
                                        u"file_size",
                                        u"file_modified_ns",
                                        u"run_id" })
            firstLog.append(u"Database migration: Added %1 column"_s.arg(QStringView(column)));
        for (const char16_t *column : { u"description", u"icon", u"color", u"bundled_id" })
            firstLog.append(u"Database migration: Added presets.%1 column"_s.arg(QStringView(column)));
        const QString schemaSql = u"SELECT type, name, sql FROM sqlite_master ORDER BY name"_s;
        QStringList schema;

        for (int open = 0; open < 2; ++open) {
            DatabaseLog log;
            std::unique_ptr<Database> db = openIn(profile);
            QVERIFY(db);
            QCOMPARE(log.lines(), open == 0 ? firstLog : QStringList());
            if (open == 1)
                QCOMPARE(rawQuery(file, schemaSql), schema);
            schema = rawQuery(file, schemaSql);
            const QList<ProcessedFile> files = db->fetchProcessedFiles(true).value();
            QCOMPARE(newPaths(files), (QStringList { u"/a/README"_s, u"/a/Report.PDF"_s }));
            for (const ProcessedFile &row : files)
                QVERIFY(row.source == ProcessedFileSource::Watcher && !row.isUndone && !row.contentHash);
            QCOMPARE(rawQuery(file,
                              u"SELECT processed_file_id, processed_at, source, file_extension "
                              "FROM rename_statistics_events ORDER BY id"_s),
                     (QStringList { u"1|2024-01-01T10:00:00Z|watcher|pdf"_s, u"2|2024-01-02T10:00:00Z|watcher|"_s }));
            QCOMPARE(db->loadPresets().value().size(), 1);
            // The file says it has been through the steps; the next open
            // walks nothing.
            QCOMPARE(rawQuery(file, u"PRAGMA user_version"_s), QStringList { u"1"_s });
        }
    }

    // The layout just before runs: rows written then belong to no run, and
    // the first record of a run is the newest run at once.
    void upgradeLeavesOlderRowsWithoutRun()
    {
        const QString profile = m_dir->filePath(u"before-runs"_s);
        QVERIFY(QDir().mkdir(profile));
        const QString file = profile + u"/nomly.db"_s;
        rawQuery(file,
                 u"CREATE TABLE processed_files (id INTEGER PRIMARY KEY AUTOINCREMENT, original_path TEXT NOT NULL, "
                 "new_path TEXT NOT NULL, original_name TEXT NOT NULL, new_name TEXT NOT NULL, title TEXT NOT NULL, "
                 "description TEXT, tags TEXT, ai_provider TEXT NOT NULL, processed_at TEXT NOT NULL, "
                 "content_hash TEXT, is_undone INTEGER NOT NULL DEFAULT 0, source TEXT NOT NULL DEFAULT 'watcher', "
                 "metadata_snapshot TEXT, pending INTEGER NOT NULL DEFAULT 0, pending_owner TEXT, "
                 "file_device INTEGER, file_inode INTEGER, file_size INTEGER, file_modified_ns INTEGER);"
                 "CREATE TABLE presets (id TEXT PRIMARY KEY, name TEXT NOT NULL, settings_json TEXT NOT NULL, "
                 "created_at TEXT NOT NULL, icon TEXT NOT NULL DEFAULT '', color TEXT NOT NULL DEFAULT '', "
                 "bundled_id TEXT, description TEXT NOT NULL DEFAULT '');"
                 "INSERT INTO processed_files (original_path, new_path, original_name, new_name, title, ai_provider, "
                 "processed_at, source) VALUES ('/a/x', '/a/Old.pdf', 'x', 'Old.pdf', '', 'gemini', "
                 "'2024-01-01T10:00:00Z', 'batch'), ('/a/y', '/a/Older.pdf', 'y', 'Older.pdf', '', 'gemini', "
                 "'2023-01-01T10:00:00Z', 'batch')"_s);

        DatabaseLog log;
        std::unique_ptr<Database> db = openIn(profile);
        QVERIFY(db);
        QCOMPARE(log.lines(), QStringList { u"Database migration: Added run_id column"_s });
        QCOMPARE(rawQuery(file, u"SELECT name FROM sqlite_master WHERE name = 'idx_processed_files_active_run'"_s),
                 QStringList { u"idx_processed_files_active_run"_s });
        QCOMPARE(runIds(db->fetchProcessedFiles(true).value()), (QStringList { u"-"_s, u"-"_s }));
        QCOMPARE(db->lastRunId().value(), std::nullopt);

        ProcessedFile inRun = record(u"/a/New.pdf"_s, u"2024-02-01T10:00:00Z"_s);
        inRun.runId = u"4f1c"_s;
        QVERIFY(db->insertProcessedFile(inRun));
        QCOMPARE(db->lastRunId().value(), std::optional(u"4f1c"_s));
        QCOMPARE(runIds(db->fetchActiveProcessedFiles(10, 0).value()), (QStringList { u"4f1c"_s, u"-"_s, u"-"_s }));
    }

    // Each record is "run" or "run:how" (undone, pending, confirmed: written
    // pending, then confirmed), "-" for no run; one second apart, oldest
    // first, at /d/1, /d/2, ... What undo takes as the last run: the records
    // of the newest run, or the newest record alone when it has no run.
    void lastRun_data()
    {
        QTest::addColumn<QStringList>("records");
        QTest::addColumn<QStringList>("expected"); // newest first

        QTest::newRow("newest-run-whole") << QStringList { u"A"_s, u"A"_s, u"B"_s, u"B"_s, u"B"_s }
                                          << QStringList { u"/d/5"_s, u"/d/4"_s, u"/d/3"_s };
        QTest::newRow("undone-record-of-run-left-out")
            << QStringList { u"A"_s, u"B"_s, u"B:undone"_s, u"B"_s } << QStringList { u"/d/4"_s, u"/d/2"_s };
        QTest::newRow("run-undone-whole-gives-the-one-before")
            << QStringList { u"A"_s, u"A"_s, u"B:undone"_s } << QStringList { u"/d/2"_s, u"/d/1"_s };
        QTest::newRow("pending-newest-is-no-run-yet")
            << QStringList { u"A"_s, u"A:pending"_s, u"B:pending"_s } << QStringList { u"/d/1"_s };
        QTest::newRow("confirmed-record-keeps-its-run")
            << QStringList { u"B"_s, u"A"_s, u"A:confirmed"_s } << QStringList { u"/d/3"_s, u"/d/2"_s };
        QTest::newRow("newest-without-run-alone")
            << QStringList { u"A"_s, u"-"_s, u"A"_s, u"-"_s } << QStringList { u"/d/4"_s };
    }

    void lastRun()
    {
        QFETCH(QStringList, records);
        QFETCH(QStringList, expected);

        for (int n = 0; n < records.size(); ++n) {
            const QStringList parts = records.at(n).split(u':');
            ProcessedFile file
                = record(u"/d/%1"_s.arg(n + 1), u"2024-01-01T00:00:%1Z"_s.arg(n, 2, 10, QLatin1Char('0')));
            if (parts.first() != u"-")
                file.runId = parts.first();
            const QString how = parts.value(1);
            const qint64 id = how == u"pending" || how == u"confirmed" ? m_db->insertPendingProcessedFile(file).value()
                                                                       : m_db->insertProcessedFile(file).value();
            if (how == u"undone")
                QVERIFY(m_db->markUndone(id));
            if (how == u"confirmed")
                QVERIFY(m_db->confirmProcessedFile(id));
        }

        const std::optional<QString> runId = m_db->lastRunId().value();
        const QList<ProcessedFile> taken
            = runId ? m_db->fetchRunProcessedFiles(*runId).value() : m_db->fetchActiveProcessedFiles(1, 0).value();
        QCOMPARE(newPaths(taken), expected);
        for (const ProcessedFile &file : taken)
            QCOMPARE(file.runId, runId);
    }

    // A crash leaves a record pending between its file's move and its
    // confirmation; the next open settles it by what the disk shows, and
    // until then it is neither listed nor counted.
    void pendingRecordsSettleAtOpen_data()
    {
        // new, old, none, replaced (another file at the new name), edited
        // (the moved file changed since), unreachable (its folder is gone)
        QTest::addColumn<QString>("fileAt");
        QTest::addColumn<bool>("ownerRunning");
        QTest::addColumn<QString>("expected"); // confirmed, withdrawn, pending

        QTest::newRow("moved-file-confirms") << u"new"_s << false << u"confirmed"_s;
        QTest::newRow("unmoved-file-withdraws") << u"old"_s << false << u"withdrawn"_s;
        QTest::newRow("file-nowhere-withdraws") << u"none"_s << false << u"withdrawn"_s;
        QTest::newRow("other-file-at-new-name-withdraws") << u"replaced"_s << false << u"withdrawn"_s;
        QTest::newRow("running-owner-keeps-it") << u"new"_s << true << u"pending"_s;
        QTest::newRow("moved-then-edited-confirms") << u"edited"_s << false << u"confirmed"_s;
        QTest::newRow("unreachable-folder-keeps-it") << u"unreachable"_s << false << u"pending"_s;
    }

    void pendingRecordsSettleAtOpen()
    {
        QFETCH(QString, fileAt);
        QFETCH(bool, ownerRunning);
        QFETCH(QString, expected);

        QVERIFY(QDir(m_dir->path()).mkdir(u"disk"_s));
        const QString oldPath = m_dir->filePath(u"disk/scan.txt"_s);
        const QString newPath = m_dir->filePath(u"disk/Report.txt"_s);
        const auto write = [](const QString &path, const QByteArray &bytes) {
            QFile file(path);
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        };
        QVERIFY(write(oldPath, "scan"));
        ProcessedFile pending = record(newPath, u"2024-01-01T00:00:00Z"_s);
        pending.originalPath = oldPath;
        pending.fileIdentity = FileIdentity::of(oldPath);
        QVERIFY(m_db->insertPendingProcessedFile(pending));
        if (fileAt != u"old" && fileAt != u"none")
            QVERIFY(QFile::rename(oldPath, newPath));
        if (fileAt == u"edited") {
            QFile edited(newPath);
            QVERIFY(edited.open(QIODevice::Append) && edited.write(" and more") > 0);
        }
        if (fileAt == u"unreachable")
            QVERIFY(QDir(m_dir->path()).rename(u"disk"_s, u"unmounted"_s));
        if (fileAt == u"none")
            QVERIFY(QFile::remove(oldPath));
        if (fileAt == u"replaced") {
            QVERIFY(QFile::rename(newPath, m_dir->filePath(u"disk/elsewhere.txt"_s)));
            QVERIFY(write(newPath, "another"));
        }
        if (!ownerRunning)
            rawQuery(filePath(), u"UPDATE processed_files SET pending_owner = 'ended:1:1'"_s);
        QCOMPARE(m_db->countActiveProcessedFiles().value(), 0);
        QCOMPARE(m_db->fetchProcessedFiles(true).value().size(), 0);

        m_db.reset();
        m_db = openIn(m_dir->path());
        QVERIFY(m_db);

        const bool confirmed = expected == u"confirmed";
        QCOMPARE(m_db->countActiveProcessedFiles().value(), confirmed ? 1 : 0);
        QCOMPARE(stats().total, confirmed ? 1 : 0);
        QCOMPARE(rawQuery(filePath(), u"SELECT pending FROM processed_files"_s),
                 expected == u"withdrawn" ? QStringList() : QStringList { confirmed ? u"0"_s : u"1"_s });
        if (confirmed && fileAt == u"new")
            QCOMPARE(m_db->fetchActiveProcessedFiles(1, 0).value().first().fileIdentity, FileIdentity::of(newPath));
    }

    // A record another process confirmed is done, and counted once; one that
    // was withdrawn cannot be confirmed: its file must not stay renamed on
    // the strength of a record that is gone.
    void confirmationAgreesWithOtherProcesses()
    {
        const qint64 kept = m_db->insertPendingProcessedFile(record(u"/d/a.txt"_s, u"2024-01-01T00:00:00Z"_s)).value();
        QVERIFY(m_db->confirmProcessedFile(kept));
        QVERIFY(m_db->confirmProcessedFile(kept));
        QCOMPARE(stats().total, 1);

        const qint64 gone = m_db->insertPendingProcessedFile(record(u"/d/b.txt"_s, u"2024-01-01T00:00:00Z"_s)).value();
        QVERIFY(m_db->withdrawPendingProcessedFile(gone));
        QVERIFY(!m_db->confirmProcessedFile(gone));
        QCOMPARE(stats().total, 1);
        // Clearing the history leaves another process's rename in flight.
        const qint64 inFlight
            = m_db->insertPendingProcessedFile(record(u"/d/c.txt"_s, u"2024-01-01T00:00:00Z"_s)).value();
        QVERIFY(m_db->deleteAllProcessedFiles());
        QVERIFY(m_db->confirmProcessedFile(inFlight));
    }

    // The events table refuses, so the activity row written just before must
    // go too.
    void insertIsAtomicWithItsEvent()
    {
        rawQuery(filePath(),
                 u"CREATE TRIGGER refuse BEFORE INSERT ON rename_statistics_events "
                 "BEGIN SELECT RAISE(ABORT, 'events refused'); END"_s);
        const Result<qint64> refused = m_db->insertProcessedFile(record(u"/d/a.pdf"_s, u"2024-01-01T00:00:00Z"_s));
        QVERIFY(!refused);
        QCOMPARE(refused.failure(), (Failure { u"events refused"_s, SQLITE_CONSTRAINT }));
        QCOMPARE(rawQuery(filePath(),
                          u"SELECT COUNT(*) FROM processed_files UNION ALL "
                          "SELECT COUNT(*) FROM rename_statistics_events"_s),
                 (QStringList { u"0"_s, u"0"_s }));

        // The failed transaction is closed: the next insert goes through.
        rawQuery(filePath(), u"DROP TRIGGER refuse"_s);
        QVERIFY(m_db->insertProcessedFile(record(u"/d/a.pdf"_s, u"2024-01-01T00:00:00Z"_s)));
        QCOMPARE(stats().total, 1);
    }

    // Undone and deleted rows leave the activity queries but stay counted; a
    // reopen backfills nothing, and no later row reuses an id an event holds.
    void undoAndDeleteKeepStatistics()
    {
        ProcessedFile kept = record(u"/d/kept.pdf"_s, u"2024-01-01T00:00:00Z"_s);
        kept.contentHash = u"aaaa"_s;
        ProcessedFile undone = record(u"/d/undone.pdf"_s, u"2024-01-02T00:00:00Z"_s);
        undone.contentHash = u"bbbb"_s;
        const qint64 keptId = m_db->insertProcessedFile(kept).value();
        QVERIFY(m_db->markUndone(m_db->insertProcessedFile(undone).value()));

        QCOMPARE(newPaths(m_db->fetchActiveProcessedFiles(50, 0).value()), QStringList { kept.newPath });
        QCOMPARE(m_db->countActiveProcessedFiles().value(), 1);
        QVERIFY(m_db->isPathProcessed(kept.newPath).value() && m_db->isHashProcessed(u"aaaa"_s).value());
        QVERIFY(!m_db->isPathProcessed(undone.newPath).value() && !m_db->isHashProcessed(u"bbbb"_s).value());
        const QList<ProcessedFile> all = m_db->fetchProcessedFiles(true).value();
        QCOMPARE(newPaths(all), (QStringList { undone.newPath, kept.newPath }));
        QVERIFY(all.first().isUndone);
        QCOMPARE(stats().total, 2);

        QVERIFY(m_db->deleteAllProcessedFiles());
        m_db = openIn(m_dir->path());
        QVERIFY(m_db);
        QCOMPARE(m_db->fetchProcessedFiles(true).value(), QList<ProcessedFile>());
        QCOMPARE(stats().total, 2);
        QVERIFY(m_db->insertProcessedFile(record(u"/d/next.txt"_s, u"2024-01-03T00:00:00Z"_s)).value() > keptId + 1);
        QCOMPARE(stats().total, 3);
    }

    void rowReading_data()
    {
        QTest::addColumn<QString>("snapshot");
        QTest::addColumn<std::optional<ProcessedFileMetadataSnapshot>>("expectedSnapshot");

        const auto none = std::optional<ProcessedFileMetadataSnapshot>();
        QTest::newRow("snapshot-read") << u"'{\"finderTags\":[\"a\"],\"nomlyTitle\":\"T\"}'"_s
                                       << std::optional(
                                              ProcessedFileMetadataSnapshot { { u"a"_s }, {}, u"T"_s, {}, {}, {} });
        QTest::newRow("broken-snapshot-json") << u"'{\"finderTags\":['"_s << none;
    }

    // Rows as other writers may have left them; each still reads.
    void rowReading()
    {
        QFETCH(QString, snapshot);
        QFETCH(std::optional<ProcessedFileMetadataSnapshot>, expectedSnapshot);
        rawQuery(filePath(),
                 u"INSERT INTO processed_files (original_path, new_path, original_name, new_name, title, "
                 "ai_provider, processed_at, metadata_snapshot) VALUES ('/a', '/b', 'a', 'b', "
                 "'', 'x', '2024-01-01T00:00:00Z', %1)"_s.arg(snapshot));

        DatabaseLog log;
        const QList<ProcessedFile> files = m_db->fetchProcessedFiles(true).value();
        QCOMPARE(newPaths(files), QStringList { u"/b"_s });
        QCOMPARE(files.first().metadataSnapshot, expectedSnapshot);
        // Text that was there but did not read is logged.
        QCOMPARE(log.lines().size(), expectedSnapshot ? 0 : 1);
    }

    // A template or folder row that does not read goes alone: the well-formed
    // row beside it still loads.
    void badPresetAndFolderRowsDropped()
    {
        const QString neighbour = u"0B9F5C2E-3D4A-4F6B-8C7D-1E2F3A4B5C6D"_s;
        const QString notJson = u"5A1C0E37-9B7F-4E1B-A0E4-2C5D7B0F9A11"_s;
        const QString wrongType = u"6F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8"_s;
        rawQuery(filePath(),
                 u"INSERT INTO presets (id, name, settings_json, created_at, icon, color) VALUES "
                 "('%1', 'Neighbour', '{}', '2000-01-01T00:00:00Z', 'receipt', 'teal'),"
                 "('not-a-uuid', 'Bad id', '{}', '2001-01-01T00:00:00Z', '', ''),"
                 "('%2', 'Not JSON', '{oops', '2002-01-01T00:00:00Z', '', ''),"
                 "('%3', 'Wrong type', '{\"namingCaseStyle\":5}', '2003-01-01T00:00:00Z', '', '');"
                 "INSERT INTO folder_configs VALUES ('/home/u/Neighbour', NULL, '{}'),"
                 "('/home/u/Broken', NULL, '{\"addFinderTags\":1}')"_s.arg(neighbour, notJson, wrongType));

        DatabaseLog log;
        const QList<Preset> presets = m_db->loadPresets().value();
        QCOMPARE(presets.size(), 1);
        QCOMPARE(presets.first().id, QUuid::fromString(neighbour));
        QCOMPARE(presets.first().icon, PresetIcon::Receipt);
        QCOMPARE(m_db->loadFolderConfigs().value().keys(), QList { u"/home/u/Neighbour"_s });
        QCOMPARE(log.lines(),
                 (QStringList { u"Failed to decode preset settings for id "_s + notJson,
                                u"Failed to decode preset settings for id "_s + wrongType,
                                u"Failed to decode legacy folder settings for path /home/u/Broken"_s }));
    }

    // Four threads insert at once; `run` carries one of them on the
    // database's own thread.
    void callsFromSeveralThreads()
    {
        constexpr int PerThread = 200;
        const auto insertMany = [](Database &target, int thread) {
            int stored = 0;
            for (int n = 0; n < PerThread; ++n)
                stored += bool(target.insertProcessedFile(record(u"/d/%1-%2"_s.arg(thread).arg(n), u"2024-01-01"_s)));
            return stored;
        };
        QList<QFuture<int>> tasks;
        for (int thread = 0; thread < 3; ++thread)
            tasks.append(QtConcurrent::run([&, thread] { return insertMany(*m_db, thread); }));
        tasks.append(m_db->run([&, caller = QThread::currentThread()](Database &target) {
            return QThread::currentThread() == caller ? -1 : insertMany(target, 3);
        }));
        for (QFuture<int> &task : tasks)
            QCOMPARE(task.result(), PerThread);

        QCOMPARE(m_db->countActiveProcessedFiles().value(), 4 * PerThread);
        QCOMPARE(stats().total, 4 * PerThread);
    }
};

QTEST_GUILESS_MAIN(DatabaseTest)
#include "databasetest.moc"
