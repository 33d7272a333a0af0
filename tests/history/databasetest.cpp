// The history database on real SQLite files: schema upgrades, the queries,
// stored templates and settings, and calls from several threads at once.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <optional>

#include <sqlite3.h>

#include <QtConcurrent/QtConcurrentRun>

#include "history/database.h"
#include "settings/settingsjson.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using SourceFilter = std::optional<ProcessedFileSource>;
using Counts = QList<QPair<QString, qint64>>;
Q_DECLARE_METATYPE(SourceFilter)
Q_DECLARE_METATYPE(Counts)
Q_DECLARE_METATYPE(std::optional<QString>)
Q_DECLARE_METATYPE(Nomly::ProcessedFileSource)
Q_DECLARE_METATYPE(std::optional<Nomly::ProcessedFileMetadataSnapshot>)

namespace {

// Collects what the database logs, so that a test can tell a step that wrote
// something from one that did not.
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

// Rows of `sql`, each row's columns joined with "|", through a connection of
// its own as another program or an older version would use the file.
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
    if (!opened) {
        QTest::qFail(qPrintable(opened.error()), __FILE__, __LINE__);
        return nullptr;
    }
    return std::move(opened).value();
}

ProcessedFile record(const QString &newPath,
                     const QString &at,
                     ProcessedFileSource source = ProcessedFileSource::Watcher)
{
    ProcessedFile file;
    file.originalPath = u"/home/u/Downloads/scan.pdf"_s;
    file.newPath = newPath;
    file.originalName = u"scan.pdf"_s;
    file.newName = QFileInfo(newPath).fileName();
    file.aiProvider = u"file-metadata"_s;
    file.processedAt = at;
    file.source = source;
    return file;
}

QStringList newPaths(const QList<ProcessedFile> &files)
{
    QStringList paths;
    for (const ProcessedFile &file : files)
        paths.append(file.newPath);
    return paths;
}

} // namespace

class DatabaseTest : public QObject
{
    Q_OBJECT

private:
    QString filePath() const { return m_dir->filePath(u"nomly.db"_s); }

    // A folder without a database yet, for tests that prepare the file first.
    QString otherProfile() const
    {
        QDir(m_dir->path()).mkdir(u"other"_s);
        return m_dir->filePath(u"other"_s);
    }

    StatsAggregates stats() { return m_db->fetchStatsAggregates(u"2024-01-01T00:00:00Z"_s, {}, {}).value(); }

    std::optional<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_db;

private slots:

    void init()
    {
        m_db.reset();
        m_dir.emplace();
        QVERIFY(m_dir->isValid());
        // A fresh file logs its one step that alters a table it just created.
        DatabaseLog log;
        m_db = openIn(m_dir->path());
        QVERIFY(m_db);
        QCOMPARE(log.lines(), QStringList { u"Database migration: Added presets.description column"_s });
    }

    // The second open finds nothing to do: no log, the same schema, no
    // further events.
    void upgradeFromEarliestLayout()
    {
        const QString profile = otherProfile();
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
        for (const char16_t *column : { u"content_hash", u"is_undone", u"source", u"metadata_snapshot" })
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
        }
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

    // Every field comes back as written, the optional ones absent or present.
    void recordsRoundTrip()
    {
        ProcessedFile bare = record(u"/d/README"_s, u"2024-06-01T11:00:00Z"_s);
        ProcessedFile full = record(u"/d/Ünïcode name.pdf"_s, u"2024-06-01T12:00:00Z"_s, ProcessedFileSource::Hotkey);
        full.contentHash = u"9f86d081884c7d65"_s;
        full.metadataSnapshot = ProcessedFileMetadataSnapshot { { u"Red"_s, u"Work"_s }, u"a comment"_s, u"a title"_s };
        full.description = u"An invoice from Acme"_s;
        full.tags = u"invoice, acme"_s;
        bare.id = m_db->insertProcessedFile(bare).value();
        full.id = m_db->insertProcessedFile(full).value();

        QCOMPARE(m_db->fetchActiveProcessedFiles(10, 0).value(), (QList { full, bare }));
        QCOMPARE(m_db->fetchProcessedFiles(false).value(), (QList { full, bare }));
        // Empty text stays text, not NULL: readers of the column expect a string.
        QCOMPARE(rawQuery(filePath(), u"SELECT DISTINCT typeof(description) FROM processed_files"_s),
                 QStringList { u"text"_s });
    }

    void paging_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("offset");
        QTest::addColumn<SourceFilter>("source");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<qint64>("expectedCount");

        const SourceFilter batch = ProcessedFileSource::Batch;
        QTest::newRow("newest-first") << 2 << 0 << SourceFilter() << QStringList { u"/d/5"_s, u"/d/4"_s } << qint64(5);
        QTest::newRow("second-page") << 2 << 2 << SourceFilter() << QStringList { u"/d/3"_s, u"/d/2"_s } << qint64(5);
        QTest::newRow("offset-past-end") << 50 << 10 << SourceFilter() << QStringList() << qint64(5);
        QTest::newRow("one-source") << 50 << 0 << batch << QStringList { u"/d/4"_s, u"/d/2"_s } << qint64(2);
        QTest::newRow("one-source-paged") << 1 << 1 << batch << QStringList { u"/d/2"_s } << qint64(2);
    }

    // Rows go in out of time order, so only the ORDER BY can put them right.
    void paging()
    {
        QFETCH(int, limit);
        QFETCH(int, offset);
        QFETCH(SourceFilter, source);
        QFETCH(QStringList, expected);
        QFETCH(qint64, expectedCount);
        const auto batch = ProcessedFileSource::Batch;
        for (int n : { 3, 1, 5, 2, 4 })
            QVERIFY(m_db->insertProcessedFile(record(
                u"/d/%1"_s.arg(n), u"2024-01-0%1T00:00:00Z"_s.arg(n), n % 2 ? ProcessedFileSource::Watcher : batch)));

        QCOMPARE(newPaths(m_db->fetchActiveProcessedFiles(limit, offset, source).value()), expected);
        QCOMPARE(m_db->countActiveProcessedFiles(source).value(), expectedCount);
    }

    // Undone and deleted rows leave the activity queries but stay counted;
    // a reopen backfills nothing for rows that are gone, and AUTOINCREMENT
    // keeps a later row from reusing an id that an event holds.
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
        QCOMPARE((QList<bool> { m_db->isPathProcessed(kept.newPath).value(),
                                m_db->isPathProcessed(undone.newPath).value(),
                                m_db->isHashProcessed(u"aaaa"_s).value(),
                                m_db->isHashProcessed(u"bbbb"_s).value() }),
                 (QList<bool> { true, false, true, false }));
        const QList<ProcessedFile> all = m_db->fetchProcessedFiles(true).value();
        QCOMPARE(newPaths(all), (QStringList { undone.newPath, kept.newPath }));
        QVERIFY(all.first().isUndone);
        QCOMPARE(stats().total, 2);

        QVERIFY(m_db->deleteProcessedFile(keptId));
        QCOMPARE(m_db->fetchProcessedFiles(true).value().size(), 1);
        QVERIFY(m_db->deleteAllProcessedFiles());
        m_db = openIn(m_dir->path());
        QVERIFY(m_db);
        QCOMPARE(m_db->fetchProcessedFiles(true).value(), QList<ProcessedFile>());
        QCOMPARE(stats().total, 2);
        QVERIFY(m_db->insertProcessedFile(record(u"/d/next.txt"_s, u"2024-01-03T00:00:00Z"_s)).value() > keptId + 1);
        QCOMPARE(stats().total, 3);
    }

    void eventExtension_data()
    {
        QTest::addColumn<QString>("newPath");
        QTest::addColumn<QString>("expected");

        QTest::newRow("lower-cased") << u"/d/Report.PDF"_s << u"pdf"_s;
        QTest::newRow("last-suffix-only") << u"/d/backup.tar.GZ"_s << u"gz"_s;
        QTest::newRow("no-extension") << u"/d/README"_s << QString();
        QTest::newRow("dot-file-is-all-name") << u"/d/.bashrc"_s << QString();
    }

    // An empty extension counts in the total but is no extension to list.
    void eventExtension()
    {
        QFETCH(QString, newPath);
        QFETCH(QString, expected);
        QVERIFY(m_db->insertProcessedFile(record(newPath, u"2024-01-01T00:00:00Z"_s)));

        QCOMPARE(rawQuery(filePath(), u"SELECT file_extension FROM rename_statistics_events"_s),
                 QStringList { expected });
        QCOMPARE(stats().total, 1);
        QCOMPARE(stats().extensionCounts, expected.isEmpty() ? Counts() : (Counts { { expected, 1 } }));
    }

    void statistics_data()
    {
        QTest::addColumn<QByteArray>("timeZone");
        QTest::addColumn<std::optional<QString>>("dailySince");
        QTest::addColumn<Counts>("expectedDaily");
        QTest::addColumn<QStringList>("expectedDays");

        QTest::newRow("utc-since-march") << QByteArray("UTC0") << std::optional(u"2024-03-01T00:00:00Z"_s)
                                         << Counts { { u"2024-03-10"_s, 1 }, { u"2024-03-12"_s, 2 } }
                                         << QStringList { u"2024-02-15"_s, u"2024-03-10"_s, u"2024-03-12"_s };
        QTest::newRow("east-of-utc-moves-late-evening-to-next-day")
            << QByteArray("XST-9") << std::optional<QString>()
            << Counts { { u"2024-02-15"_s, 1 }, { u"2024-03-11"_s, 1 }, { u"2024-03-12"_s, 2 } }
            << QStringList { u"2024-02-15"_s, u"2024-03-11"_s, u"2024-03-12"_s };
    }

    // The month bounds compare text in UTC; the days are grouped in the
    // machine's time zone.
    void statistics()
    {
        QFETCH(QByteArray, timeZone);
        QFETCH(std::optional<QString>, dailySince);
        QFETCH(Counts, expectedDaily);
        QFETCH(QStringList, expectedDays);
        const QByteArray savedZone = qgetenv("TZ");
        qputenv("TZ", timeZone);
        tzset();
        const auto restoreZone = qScopeGuard([&] {
            savedZone.isNull() ? qunsetenv("TZ") : qputenv("TZ", savedZone);
            tzset();
        });
        const auto batch = ProcessedFileSource::Batch, hotkey = ProcessedFileSource::Hotkey;
        for (const ProcessedFile &file : { record(u"/d/a.pdf"_s, u"2024-02-15T10:00:00Z"_s, batch),
                                           record(u"/d/b.PDF"_s, u"2024-03-10T23:30:00Z"_s),
                                           record(u"/d/c"_s, u"2024-03-12T08:00:00Z"_s),
                                           record(u"/d/d.png"_s, u"2024-03-12T09:00:00Z"_s, hotkey) })
            QVERIFY(m_db->insertProcessedFile(file));
        StatsAggregates stats
            = m_db->fetchStatsAggregates(u"2024-03-01T00:00:00Z"_s, u"2024-02-01T00:00:00Z"_s, dailySince).value();
        std::sort(stats.activeDays.begin(), stats.activeDays.end());
        std::sort(stats.extensionCounts.begin(), stats.extensionCounts.end());
        QCOMPARE(stats.total, 4);
        QCOMPARE(stats.monthCount, 3);
        QCOMPARE(stats.previousMonthCount, 1);
        QCOMPARE(stats.monitorCount, 2);
        QCOMPARE(stats.dailyCounts, expectedDaily);
        QCOMPARE(stats.activeDays, expectedDays);
        QCOMPARE(stats.extensionCounts, (Counts { { u"pdf"_s, 2 }, { u"png"_s, 1 } }));
    }

    void rowReading_data()
    {
        QTest::addColumn<QString>("isUndone");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("snapshot");
        QTest::addColumn<bool>("expectedUndone");
        QTest::addColumn<ProcessedFileSource>("expectedSource");
        QTest::addColumn<std::optional<ProcessedFileMetadataSnapshot>>("expectedSnapshot");

        const auto none = std::optional<ProcessedFileMetadataSnapshot>();
        const auto watcher = ProcessedFileSource::Watcher;
        QTest::newRow("undone-is-one") << u"1"_s << u"'batch'"_s << u"NULL"_s << true << ProcessedFileSource::Batch
                                       << none;
        QTest::newRow("other-numbers-are-not-undone")
            << u"2"_s << u"'finderService'"_s << u"NULL"_s << false << ProcessedFileSource::FinderService << none;
        QTest::newRow("unknown-source-is-watcher") << u"0"_s << u"'scanner'"_s << u"NULL"_s << false << watcher << none;
        QTest::newRow("snapshot-read") << u"0"_s << u"'watcher'"_s
                                       << u"'{\"finderTags\":[\"a\"],\"nomlyTitle\":\"T\"}'"_s << false << watcher
                                       << std::optional(ProcessedFileMetadataSnapshot { { u"a"_s }, {}, u"T"_s });
        QTest::newRow("broken-snapshot-json")
            << u"0"_s << u"'watcher'"_s << u"'{\"finderTags\":['"_s << false << watcher << none;
        QTest::newRow("snapshot-without-tags")
            << u"0"_s << u"'watcher'"_s << u"'{\"spotlightComment\":\"c\"}'"_s << false << watcher << none;
    }

    // Rows as other writers may have left them; each still reads.
    void rowReading()
    {
        QFETCH(QString, isUndone);
        QFETCH(QString, source);
        QFETCH(QString, snapshot);
        QFETCH(bool, expectedUndone);
        QFETCH(ProcessedFileSource, expectedSource);
        QFETCH(std::optional<ProcessedFileMetadataSnapshot>, expectedSnapshot);
        rawQuery(filePath(),
                 u"INSERT INTO processed_files (original_path, new_path, original_name, new_name, title, "
                 "ai_provider, processed_at, is_undone, source, metadata_snapshot) VALUES ('/a', '/b', 'a', 'b', "
                 "'', 'x', '2024-01-01T00:00:00Z', %1, %2, %3)"_s.arg(isUndone, source, snapshot));

        DatabaseLog log;
        const QList<ProcessedFile> files = m_db->fetchProcessedFiles(true).value();
        QCOMPARE(newPaths(files), QStringList { u"/b"_s });
        QCOMPARE(files.first().isUndone, expectedUndone);
        QCOMPARE(files.first().source, expectedSource);
        QCOMPARE(files.first().metadataSnapshot, expectedSnapshot);
        // Text that was there but did not read is logged; NULL is no snapshot.
        const bool unreadable = snapshot != u"NULL"_s && !expectedSnapshot;
        QCOMPARE(log.lines().size(), unreadable ? 1 : 0);
        QVERIFY(!unreadable || log.lines().first().startsWith(u"Failed to decode metadata snapshot: "_s));
    }

    void presetRows_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("settingsJson");
        QTest::addColumn<QString>("createdAt");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QStringList>("expectedLog");

        const QString id = u"5A1C0E37-9B7F-4E1B-A0E4-2C5D7B0F9A11"_s;
        const QString validSettings = u"{\"namingPattern\":\"{title}\"}"_s;
        const QString date = u"2024-01-01T00:00:00Z"_s;
        const QString log = u"Failed to decode preset settings for id "_s;
        QTest::newRow("well-formed") << id << validSettings << date << true << QStringList();
        QTest::newRow("bad-uuid-dropped-silently")
            << u"not-a-uuid"_s << validSettings << date << false << QStringList();
        QTest::newRow("bad-date-reads-as-now") << id << validSettings << u"last tuesday"_s << true << QStringList();
        QTest::newRow("fractional-seconds-date")
            << id << validSettings << u"2024-01-01T00:00:00.250Z"_s << true << QStringList();
        QTest::newRow("settings-not-json") << id << u"{oops"_s << date << false << QStringList { log + id };
        QTest::newRow("settings-of-wrong-type")
            << id << u"{\"namingCaseStyle\":5}"_s << date << false << QStringList { log + id };
    }

    // A row that does not read goes alone: the well-formed row beside it
    // still loads.
    void presetRows()
    {
        QFETCH(QString, id);
        QFETCH(QString, settingsJson);
        QFETCH(QString, createdAt);
        QFETCH(bool, kept);
        QFETCH(QStringList, expectedLog);
        rawQuery(filePath(),
                 u"INSERT INTO presets (id, name, settings_json, created_at, icon, color) VALUES "
                 "('%1', 'Tested', '%2', '%3', 'receipt', 'teal'),"
                 "('0B9F5C2E-3D4A-4F6B-8C7D-1E2F3A4B5C6D', 'Neighbour', '{}', '2000-01-01T00:00:00Z', '', '')"_s.arg(
                     id, settingsJson, createdAt));

        DatabaseLog log;
        const QList<Preset> presets = m_db->loadPresets().value();
        QCOMPARE(log.lines(), expectedLog);
        QCOMPARE(presets.size(), kept ? 2 : 1);
        QCOMPARE(presets.first().name, u"Neighbour"_s);
        if (!kept)
            return;
        const Preset &tested = presets.last();
        QCOMPARE(tested.id, QUuid::fromString(id));
        QCOMPARE(tested.icon, PresetIcon::Receipt);
        QCOMPARE(tested.color, PresetColor::Teal);
        const QDateTime parsed = QDateTime::fromString(createdAt, Qt::ISODateWithMs);
        const QDateTime expected = parsed.isValid() ? parsed : QDateTime::currentDateTimeUtc();
        QVERIFY(qAbs(tested.createdAt.msecsTo(expected)) < (parsed.isValid() ? 1 : 5000));
    }

    // Saved templates come back oldest first, with their stored forms as other
    // readers of the file expect them; deleting one takes its folders along.
    void presetsRoundTripAndDelete()
    {
        Preset newer;
        newer.id = QUuid::createUuid();
        newer.name = u"Bookkeeper Expenses"_s;
        newer.description = u"Receipts named by date"_s;
        newer.bundledId = u"bookkeeper_expenses"_s;
        newer.icon = PresetIcon::Wand;
        newer.color = PresetColor::Gray;
        newer.settings.namingPattern = u"{invoice_date}_{vendor}"_s;
        newer.createdAt = QDateTime(QDate(2025, 2, 3), QTime(4, 5, 6), Qt::UTC);
        Preset older = newer;
        older.id = QUuid::createUuid();
        older.bundledId.reset();
        older.createdAt = newer.createdAt.addDays(-1);
        QVERIFY(m_db->savePreset(newer) && m_db->savePreset(older));
        newer.name = u"Renamed"_s;
        QVERIFY(m_db->savePreset(newer));
        QCOMPARE(m_db->loadPresets().value(), (QList<Preset> { older, newer }));
        QCOMPARE(rawQuery(filePath(), u"SELECT id, created_at FROM presets WHERE bundled_id IS NOT NULL"_s),
                 QStringList { newer.id.toString(QUuid::WithoutBraces).toUpper() + u"|2025-02-03T04:05:06Z"_s });

        const WatchedFolderConfig usesNewer { u"/home/u/A"_s, newer.id, {} };
        const WatchedFolderConfig usesOlder { u"/home/u/B"_s, older.id, {} };
        const WatchedFolderConfig usesNone { u"/home/u/C"_s, std::nullopt, {} };
        for (const WatchedFolderConfig &config : { usesNewer, usesOlder, usesNone })
            QVERIFY(m_db->saveFolderConfig(config));
        QVERIFY(m_db->deletePreset(newer.id));
        QCOMPARE(m_db->loadPresets().value(), QList<Preset> { older });
        QCOMPARE(m_db->loadFolderConfigs().value(),
                 (QHash<QString, WatchedFolderConfig> { { usesOlder.path, usesOlder }, { usesNone.path, usesNone } }));
        QVERIFY(m_db->deleteFolderConfig(usesNone.path));
        QCOMPARE(m_db->loadFolderConfigs().value().keys(), QList { usesOlder.path });
    }

    // A folder whose own overrides do not read is dropped alone and logged.
    void brokenFolderOverridesDropTheRow()
    {
        const WatchedFolderConfig neighbour { u"/home/u/Neighbour"_s, std::nullopt, {} };
        QVERIFY(m_db->saveFolderConfig(neighbour));
        rawQuery(filePath(), u"INSERT INTO folder_configs VALUES ('/home/u/Broken', NULL, '{\"addFinderTags\":1}')"_s);

        DatabaseLog log;
        QCOMPARE(m_db->loadFolderConfigs().value(),
                 (QHash<QString, WatchedFolderConfig> { { neighbour.path, neighbour } }));
        QCOMPARE(log.lines(), QStringList { u"Failed to decode legacy folder settings for path /home/u/Broken"_s });
    }

    void settingsRoundTrip()
    {
        QCOMPARE(m_db->loadSettings().value(), std::nullopt);
        Settings settings;
        settings.watchedFolders = { u"/home/u/Downloads"_s };
        settings.outputLanguage = u"de"_s;
        QVERIFY(m_db->saveSettings(settings));
        settings.autoStart = true;
        QVERIFY(m_db->saveSettings(settings));
        QCOMPARE(m_db->loadSettings().value(), std::optional(settings));
        QCOMPARE(m_db->loadSettingsData().value(), std::optional(settingsToJsonBytes(settings)));

        rawQuery(filePath(), u"UPDATE settings SET data = '{\"autoStart\": \"yes\"}'"_s);
        const Result<std::optional<Settings>> broken = m_db->loadSettings();
        QVERIFY(!broken);
        QVERIFY(broken.error().contains(u"autoStart"_s));
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
        QCOMPARE(rawQuery(filePath(), u"SELECT COUNT(DISTINCT processed_file_id) FROM rename_statistics_events"_s),
                 QStringList { QString::number(4 * PerThread) });
        QCOMPARE(stats().total, 4 * PerThread);
    }

    // A regular file stands where the database or its folder belongs.
    void openFailures()
    {
        const QString profile = otherProfile();
        QFile garbage(profile + u"/nomly.db"_s);
        QVERIFY(garbage.open(QIODevice::WriteOnly) && garbage.write(QByteArray(4096, 'x')) == 4096);
        garbage.close();

        const Result<std::unique_ptr<Database>> notSqlite = Database::open(profile);
        QVERIFY(!notSqlite);
        QCOMPARE(notSqlite.failure().code, SQLITE_NOTADB);
        QVERIFY2(notSqlite.error().contains(u"file is not a database"_s), qPrintable(notSqlite.error()));
        const Result<std::unique_ptr<Database>> noFolder = Database::open(profile + u"/nomly.db/profile"_s);
        QVERIFY(!noFolder);
        QVERIFY2(noFolder.error().contains(u"nomly.db/profile"_s), qPrintable(noFolder.error()));
    }
};

QTEST_GUILESS_MAIN(DatabaseTest)
#include "databasetest.moc"
