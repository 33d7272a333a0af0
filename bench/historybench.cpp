// The activity log at the sizes a long-used profile reaches. Inserting shows
// how many renames per second the log can record, each in its own
// transaction as the workflows write them. The first activity page is what
// the activity list asks for when it opens; read it as a ratio against
// BM_ReferenceCount, a bare COUNT(*) over the same 100,000 rows on a
// connection of its own. The statistics are read against the bare aggregate
// query.

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <QTemporaryDir>
#include <memory>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include "history/database.h"
#include "history/statisticsviewmodel.h"

using namespace Nomly;

namespace {

constexpr int LargeTableRows = 100000;

ProcessedFile sampleRecord(int n)
{
    ProcessedFile file;
    file.originalPath = QStringLiteral("/home/u/Downloads/scan %1.pdf").arg(n);
    file.newPath = QStringLiteral("/home/u/Downloads/Quarterly Report %1.pdf").arg(n);
    file.originalName = QStringLiteral("scan %1.pdf").arg(n);
    file.newName = QStringLiteral("Quarterly Report %1.pdf").arg(n);
    file.title = QStringLiteral("Quarterly Report");
    file.description = QStringLiteral("Figures for the board");
    file.tags = QStringLiteral("report, finance");
    file.aiProvider = QStringLiteral("gemini");
    file.processedAt = QStringLiteral("2024-01-01T00:00:00Z");
    file.contentHash = QString::number(n, 16).rightJustified(64, QLatin1Char('0'));
    file.metadataSnapshot
        = ProcessedFileMetadataSnapshot { { QStringLiteral("Work") }, std::nullopt, std::nullopt, {}, {}, {} };
    return file;
}

std::unique_ptr<Database> openOrAbort(const QString &directory)
{
    // Every fresh file logs its one schema step; that line is no result.
    QLoggingCategory::setFilterRules(QStringLiteral("com.nomly.app.Database.info=false"));
    Result<std::unique_ptr<Database>> opened = Database::open(directory);
    if (!opened)
        qFatal("cannot open the database: %s", qPrintable(opened.error()));
    return std::move(opened).value();
}

void rawExecute(const QString &file, const char *sql)
{
    sqlite3 *connection = nullptr;
    sqlite3_open(QFile::encodeName(file).constData(), &connection);
    char *error = nullptr;
    if (sqlite3_exec(connection, sql, nullptr, nullptr, &error) != SQLITE_OK)
        qFatal("%s", error);
    sqlite3_close(connection);
}

// 100,000 rows over three years, one in ten undone, sources mixed. They go in
// through one raw transaction; the reopen then backfills their events the way
// an upgraded file gets them.
class LargeProfile final
{
public:
    LargeProfile()
    {
        const QString file = QDir(m_dir.path()).filePath(QStringLiteral("nomly.db"));
        openOrAbort(m_dir.path());
        rawExecute(file,
                   "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000)\n"
                   "INSERT INTO processed_files (original_path, new_path, original_name, new_name, title, "
                   "description, tags, ai_provider, processed_at, content_hash, is_undone, source)\n"
                   "SELECT '/home/u/Downloads/scan ' || i || '.pdf', '/home/u/Documents/Report ' || i || '.pdf', "
                   "'scan ' || i || '.pdf', 'Report ' || i || '.pdf', 'Report', '', 'a, b', 'gemini', "
                   "strftime('%Y-%m-%dT%H:%M:%SZ', 1609459200 + i * 900, 'unixepoch'), printf('%064x', i), "
                   "i % 10 = 0, CASE i % 3 WHEN 0 THEN 'watcher' WHEN 1 THEN 'batch' ELSE 'hotkey' END FROM n;\n"
                   // As a file from before events were kept: the next open
                   // goes through the steps again and backfills.
                   "PRAGMA user_version = 0;");
        m_database = openOrAbort(m_dir.path());
        sqlite3_open(QFile::encodeName(file).constData(), &m_rawConnection);
    }

    ~LargeProfile() { sqlite3_close(m_rawConnection); }

    LargeProfile(const LargeProfile &) = delete;
    LargeProfile &operator=(const LargeProfile &) = delete;

    Database &database() { return *m_database; }

    QString directory() const { return m_dir.path(); }

    sqlite3 *rawConnection() { return m_rawConnection; }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Database> m_database;
    sqlite3 *m_rawConnection = nullptr;
};

LargeProfile &largeProfile()
{
    static LargeProfile profile;
    return profile;
}

void BM_InsertRecord(benchmark::State &state)
{
    QTemporaryDir dir;
    std::unique_ptr<Database> database = openOrAbort(dir.path());
    int n = 0;
    for (auto _ : state) {
        if (!database->insertProcessedFile(sampleRecord(n++))) {
            state.SkipWithError("insert failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

// Wall-clock time: most of an insert is the wait for the disk at commit.
BENCHMARK(BM_InsertRecord)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_ReferenceCount(benchmark::State &state)
{
    sqlite3 *connection = largeProfile().rawConnection();
    for (auto _ : state) {
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(connection, "SELECT COUNT(*) FROM processed_files", -1, &statement, nullptr);
        sqlite3_step(statement);
        benchmark::DoNotOptimize(sqlite3_column_int64(statement, 0));
        sqlite3_finalize(statement);
    }
}

BENCHMARK(BM_ReferenceCount)->Unit(benchmark::kMicrosecond);

// Thirty rows, newest first, and the total that sizes the list.
void BM_FirstActivityPage(benchmark::State &state)
{
    Database &database = largeProfile().database();
    for (auto _ : state) {
        const Result<QList<ProcessedFile>> page = database.fetchActiveProcessedFiles(30, 0);
        const Result<qint64> count = database.countActiveProcessedFiles();
        if (!page || page.value().size() != 30 || !count || count.value() != LargeTableRows - LargeTableRows / 10) {
            state.SkipWithError("unexpected page");
            break;
        }
        benchmark::DoNotOptimize(page.value().constData());
    }
}

BENCHMARK(BM_FirstActivityPage)->Unit(benchmark::kMicrosecond);

// The statistics screen's load over the 100,000 events of three years: the
// aggregate query and the snapshot built from it, with a 30-day chart and
// with every day. Read as a ratio against BM_BareAggregates, the same query
// with the same bounds and nothing built.
std::optional<int> windowOf(const benchmark::State &state)
{
    return state.range(0) == 0 ? std::nullopt : std::optional(int(state.range(0)));
}

void BM_BareAggregates(benchmark::State &state)
{
    Database &database = largeProfile().database();
    const StatsQueryBounds bounds = StatsQueryBounds::at(QDateTime::currentDateTime(), windowOf(state));
    for (auto _ : state) {
        const Result<StatsAggregates> aggregates
            = database.fetchStatsAggregates(bounds.monthStart, bounds.previousMonthStart, bounds.dailySince);
        if (!aggregates || aggregates.value().total != LargeTableRows) {
            state.SkipWithError("unexpected aggregates");
            break;
        }
        benchmark::DoNotOptimize(aggregates.value().total);
    }
}

BENCHMARK(BM_BareAggregates)->Arg(30)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_StatisticsSnapshot(benchmark::State &state)
{
    Database &database = largeProfile().database();
    const QDateTime now = QDateTime::currentDateTime();
    for (auto _ : state) {
        const Result<StatsSnapshot> snapshot = StatisticsViewModel::load(database, now, windowOf(state));
        if (!snapshot || snapshot.value().totalRenamed != LargeTableRows) {
            state.SkipWithError("unexpected snapshot");
            break;
        }
        benchmark::DoNotOptimize(snapshot.value().dailyCounts.constData());
    }
}

BENCHMARK(BM_StatisticsSnapshot)->Arg(30)->Arg(0)->Unit(benchmark::kMillisecond);

} // namespace

// Opening a profile, with its settling of interrupted renames, costs the
// same at 0 records (the reference) and at 100,000.
void BM_OpenProfile(benchmark::State &state)
{
    QTemporaryDir empty;
    openOrAbort(empty.path());
    const QString directory = state.range(0) == 0 ? empty.path() : largeProfile().directory();
    for (auto _ : state)
        benchmark::DoNotOptimize(openOrAbort(directory));
}

BENCHMARK(BM_OpenProfile)->Arg(0)->Arg(100000)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
