// From an analysis to a renamed file, its metadata and its record, with every
// way that can fail, on real files and a real database.

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <cstdlib>

#include <sqlite3.h>
#include <sys/stat.h>

#include "filesystemfixtures.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "workflows/processanalyzedfileusecase.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

ImageAnalysis analysisTitled(const std::optional<QString> &title)
{
    ImageAnalysis analysis;
    analysis.title = title;
    analysis.description = u"Q3 numbers"_s;
    analysis.tags = { u"finance"_s, u"q3"_s };
    return analysis;
}

// Raw SQL on the same file, as another program might leave it.
bool execute(const QString &databaseFile, const char *sql)
{
    sqlite3 *connection = nullptr;
    bool ok = sqlite3_open(QFile::encodeName(databaseFile).constData(), &connection) == SQLITE_OK
        && sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(connection);
    return ok;
}

// Every row of the activity table, pending ones included.
int storedRows(const QString &databaseFile)
{
    sqlite3 *connection = nullptr;
    int rows = -1;
    if (sqlite3_open(QFile::encodeName(databaseFile).constData(), &connection) == SQLITE_OK) {
        sqlite3_exec(
            connection,
            "SELECT COUNT(*) FROM processed_files",
            [](void *out, int, char **values, char **) {
                *static_cast<int *>(out) = std::atoi(values[0]);
                return 0;
            },
            &rows,
            nullptr);
    }
    sqlite3_close(connection);
    return rows;
}

} // namespace

class ProcessAnalyzedFileUseCaseTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void failures_data();
    void failures();
    void metadataFollowsTheSettings_data();
    void metadataFollowsTheSettings();
    void sameNameStillRecorded();
    void withoutOwnerNothingHappens();
    void fileSystemWithoutAttributes();

private:
    FileProcessingResult process(const QString &path, const ImageAnalysis &analysis);

    QTemporaryDir m_mountDir;
    std::unique_ptr<AttributelessMount> m_mount;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<ProcessAnalyzedFileUseCase> m_useCase;
    EffectiveAnalysisSettings m_settings;
    QList<ProcessedFile> m_added;
};

void ProcessAnalyzedFileUseCaseTest::initTestCase()
{
    // Before any thread starts, as a private mount namespace requires.
    m_mount = std::make_unique<AttributelessMount>(m_mountDir.path());
}

void ProcessAnalyzedFileUseCaseTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    auto database = Database::open(m_dir->filePath(u"data"_s));
    QVERIFY2(database.ok(), qPrintable(database.error()));
    m_database = std::move(database).value();
    m_undoIgnore = std::make_unique<UndoIgnoreService>();
    m_useCase = std::make_unique<ProcessAnalyzedFileUseCase>(*m_database, *m_undoIgnore);
    m_settings = EffectiveAnalysisSettings();
    m_added.clear();
    m_useCase->setDependencies({
        [this](const QString &, ProcessedFileSource) { return m_settings; },
        [this](const ProcessedFile &record) { m_added.append(record); },
    });
}

void ProcessAnalyzedFileUseCaseTest::cleanup()
{
    m_useCase.reset();
    m_undoIgnore.reset();
    m_database.reset();
    m_dir.reset();
}

FileProcessingResult ProcessAnalyzedFileUseCaseTest::process(const QString &path, const ImageAnalysis &analysis)
{
    return QCoro::waitFor(m_useCase->processAnalyzedFile(
        path, analysis, u"c0ffee"_s.repeated(10) + u"abcd"_s, ProcessedFileSource::Watcher, u"openai"_s));
}

// Each leaves the file where and as it was, and stores nothing.
void ProcessAnalyzedFileUseCaseTest::failures_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<std::optional<QString>>("title");
    QTest::addColumn<std::optional<QString>>("analysisError");
    QTest::addColumn<QString>("expectedError"); // contained in the result's error

    QTest::newRow("empty-title") << u"plain"_s << std::optional(u""_s) << std::optional<QString>()
                                 << u"AI analysis failed"_s;
    QTest::newRow("no-title") << u"plain"_s << std::optional<QString>() << std::optional<QString>()
                              << u"AI analysis failed"_s;
    QTest::newRow("title-and-error") << u"plain"_s << std::optional(u"Report"_s) << std::optional(u"Rate limited"_s)
                                     << u"Rate limited"_s;
    QTest::newRow("folder-refuses-the-move")
        << u"locked"_s << std::optional(u"Report"_s) << std::optional<QString>() << u"could not be moved"_s;
    QTest::newRow("file-gone-before-the-move")
        << u"gone"_s << std::optional(u"Report"_s) << std::optional<QString>() << u"no longer a regular file"_s;
    // What was analysed was replaced meanwhile; only a regular file itself
    // is renamed, and nothing is written through a link.
    QTest::newRow("folder-in-its-place") << u"folder"_s << std::optional(u"Report"_s) << std::optional<QString>()
                                         << u"no longer a regular file"_s;
    QTest::newRow("fifo-in-its-place") << u"fifo"_s << std::optional(u"Report"_s) << std::optional<QString>()
                                       << u"no longer a regular file"_s;
    QTest::newRow("link-in-its-place") << u"link"_s << std::optional(u"Report"_s) << std::optional<QString>()
                                       << u"no longer a regular file"_s;
    // The record comes before the move: no record, no move; a record that
    // cannot be confirmed takes the move back.
    QTest::newRow("record-refused-nothing-moves")
        << u"refuse-record"_s << std::optional(u"Report"_s) << std::optional<QString>() << u"disk says no"_s;
    QTest::newRow("confirmation-refused-moved-back")
        << u"refuse-confirmation"_s << std::optional(u"Report"_s) << std::optional<QString>() << u"disk says no"_s;
}

void ProcessAnalyzedFileUseCaseTest::failures()
{
    QFETCH(QString, situation);
    QFETCH(std::optional<QString>, title);
    QFETCH(std::optional<QString>, analysisError);
    QFETCH(QString, expectedError);

    const QString folder = m_dir->filePath(u"files"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + u"/scan001.txt"_s;
    const QString outside = m_dir->filePath(u"outside.txt"_s);
    if (situation == u"folder") {
        QVERIFY(QDir().mkpath(path));
    } else if (situation == u"fifo") {
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    } else if (situation == u"link") {
        QVERIFY(writeFile(outside, "original bytes"));
        QVERIFY(QFile::link(outside, path));
    } else if (situation != u"gone") {
        QVERIFY(writeFile(path, "original bytes"));
    }
    std::unique_ptr<LockedFolder> lock;
    if (situation == u"locked") {
        lock = std::make_unique<LockedFolder>(folder);
        if (!lock->isLocked())
            QSKIP("this file system cannot lock a folder");
    }
    if (situation == u"refuse-record") {
        QVERIFY(execute(m_database->filePath(),
                        "CREATE TRIGGER refuse BEFORE INSERT ON processed_files "
                        "BEGIN SELECT RAISE(ABORT, 'disk says no'); END"));
    } else if (situation == u"refuse-confirmation") {
        QVERIFY(execute(m_database->filePath(),
                        "CREATE TRIGGER refuse BEFORE UPDATE OF pending ON processed_files "
                        "BEGIN SELECT RAISE(ABORT, 'disk says no'); END"));
    }
    m_settings.addFinderTags = true;
    m_settings.addSpotlightMetadata = true;
    ImageAnalysis analysis = analysisTitled(title);
    analysis.error = analysisError;

    const FileProcessingResult result = process(path, analysis);
    lock.reset();

    QVERIFY(!result.success);
    QVERIFY2(result.error.value_or(QString()).contains(expectedError), qPrintable(result.error.value_or(QString())));
    QVERIFY(!result.newPath);
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
             situation == u"gone" ? QStringList() : QStringList { u"scan001.txt"_s });
    const QString content = situation == u"link" ? outside : path;
    if (situation != u"gone" && situation != u"folder" && situation != u"fifo") {
        QCOMPARE(readFile(content), "original bytes");
        bool tagged = true;
        attribute(content, "user.xdg.tags", &tagged);
        QVERIFY(!tagged);
    }
    QCOMPARE(m_database->countActiveProcessedFiles().value(), 0);
    QCOMPARE(storedRows(m_database->filePath()), 0); // no pending record left behind either
    QVERIFY(m_added.isEmpty());
}

void ProcessAnalyzedFileUseCaseTest::metadataFollowsTheSettings_data()
{
    QTest::addColumn<bool>("addTags");
    QTest::addColumn<bool>("addComment");
    QTest::addColumn<QStringList>("tags");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("expectedTags"); // "-" for absent
    QTest::addColumn<QByteArray>("expectedComment");
    QTest::addColumn<QByteArray>("expectedTitle");

    const QStringList tags { u"finance"_s, u"q3"_s };
    QTest::newRow("nothing-asked") << false << false << tags << u"Q3"_s << QByteArray("Red") << QByteArray("-")
                                   << QByteArray("-");
    QTest::newRow("tags-replace-the-files-own")
        << true << false << tags << u"Q3"_s << QByteArray("finance,q3") << QByteArray("-") << QByteArray("-");
    QTest::newRow("no-tags-keep-the-files-own")
        << true << false << QStringList() << u"Q3"_s << QByteArray("Red") << QByteArray("-") << QByteArray("-");
    QTest::newRow("comment-and-title") << false << true << tags << u"Q3"_s << QByteArray("Red") << QByteArray("Q3")
                                       << QByteArray("Report");
    QTest::newRow("empty-description-title-only")
        << false << true << tags << u""_s << QByteArray("Red") << QByteArray("-") << QByteArray("Report");
}

void ProcessAnalyzedFileUseCaseTest::metadataFollowsTheSettings()
{
    QFETCH(bool, addTags);
    QFETCH(bool, addComment);
    QFETCH(QStringList, tags);
    QFETCH(QString, description);
    QFETCH(QByteArray, expectedTags);
    QFETCH(QByteArray, expectedComment);
    QFETCH(QByteArray, expectedTitle);

    const QString path = m_dir->filePath(u"scan001.txt"_s);
    QVERIFY(writeFile(path, "bytes"));
    QVERIFY(setAttribute(path, "user.xdg.tags", "Red"));
    m_settings.addFinderTags = addTags;
    m_settings.addSpotlightMetadata = addComment;
    ImageAnalysis analysis = analysisTitled(u"Report"_s);
    analysis.tags = tags;
    analysis.description = description;

    const FileProcessingResult result = process(path, analysis);

    QVERIFY2(result.success, qPrintable(result.error.value_or(QString())));
    QCOMPARE(*result.newName, u"Report.txt"_s);
    const auto read = [&](const char *name) {
        bool present = false;
        const QByteArray value = attribute(*result.newPath, name, &present);
        return present ? value : QByteArray("-");
    };
    QCOMPARE(read("user.xdg.tags"), expectedTags);
    QCOMPARE(read("user.xdg.comment"), expectedComment);
    QCOMPARE(read("user.nomly.title"), expectedTitle);

    // The record keeps what the file had before, for undo.
    const ProcessedFile stored = m_database->fetchActiveProcessedFiles(1, 0).value().first();
    QCOMPARE(stored, m_added.first());
    QCOMPARE(stored.metadataSnapshot->finderTags, QStringList { u"Red"_s });
    QCOMPARE(stored.tags, tags.join(u", "_s));
    QCOMPARE(stored.source, ProcessedFileSource::Watcher);
    QVERIFY(stored.processedAt.endsWith(u'Z'));
    QVERIFY(m_undoIgnore->isPathIgnored(path));
    QVERIFY(m_undoIgnore->isPathIgnored(*result.newPath));
    QVERIFY(m_undoIgnore->isHashIgnored(*stored.contentHash));
}

void ProcessAnalyzedFileUseCaseTest::sameNameStillRecorded()
{
    const QString path = m_dir->filePath(u"Report.txt"_s);
    QVERIFY(writeFile(path, "same"));
    m_settings.addFinderTags = true;

    const FileProcessingResult result = process(path, analysisTitled(u"Report"_s));

    QVERIFY(result.success);
    QCOMPARE(*result.newPath, path);
    QCOMPARE(readFile(path), "same");
    QCOMPARE(attribute(path, "user.xdg.tags"), "finance,q3");
    QCOMPARE(m_database->countActiveProcessedFiles().value(), 1);
}

void ProcessAnalyzedFileUseCaseTest::withoutOwnerNothingHappens()
{
    ProcessAnalyzedFileUseCase orphan(*m_database, *m_undoIgnore);
    const QString path = m_dir->filePath(u"scan001.txt"_s);
    QVERIFY(writeFile(path, "bytes"));

    const FileProcessingResult result = QCoro::waitFor(orphan.processAnalyzedFile(
        path, analysisTitled(u"Report"_s), std::nullopt, ProcessedFileSource::Hotkey, u"openai"_s));

    QCOMPARE(result, FileProcessingResult::failure(u"Coordinator released"_s));
    QCOMPARE(readFile(path), "bytes");
}

void ProcessAnalyzedFileUseCaseTest::fileSystemWithoutAttributes()
{
    if (!m_mount->unavailableReason().isEmpty())
        QSKIP(qPrintable(m_mount->unavailableReason()));
    const QString path = m_mountDir.filePath(u"scan001.txt"_s);
    QVERIFY(writeFile(path, "bytes"));
    m_settings.addFinderTags = true;
    m_settings.addSpotlightMetadata = true;

    const FileProcessingResult result = process(path, analysisTitled(u"Report"_s));

    // Renamed and recorded; no snapshot could be taken and no metadata written.
    QVERIFY2(result.success, qPrintable(result.error.value_or(QString())));
    QCOMPARE(readFile(m_mountDir.filePath(u"Report.txt"_s)), "bytes");
    QVERIFY(!m_database->fetchActiveProcessedFiles(1, 0).value().first().metadataSnapshot);
}

QTEST_GUILESS_MAIN(ProcessAnalyzedFileUseCaseTest)
#include "processanalyzedfileusecasetest.moc"
