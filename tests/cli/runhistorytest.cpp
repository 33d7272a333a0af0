// Runs the real `nomly apply`, `undo --last-run` and `history` against real
// files and a real database in a fresh temporary folder: each command is one
// run, and a run is listed and taken back as a whole.

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include <sqlite3.h>

#include "cliprocess.h"
#include "filesystemfixtures.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

namespace {

// Every file of a folder as "name=bytes", in sorted order.
using Contents = QStringList;

} // namespace

class RunHistoryTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void undoLastRun_data();
    void undoLastRun();
    void historyGroupsRuns_data();
    void historyGroupsRuns();
    void statsCountWhatHappened();

private:
    // Data, configuration and cache all live in the temporary folder; the
    // files to rename sit in its "files" folder, the working directory.
    CliRun runNomly(const QStringList &arguments) const;

    QString filePath(const QString &name) const { return m_dir->filePath(u"files/"_s + name); }

    Contents contents() const;
    QJsonArray history() const;
    // Two runs: "apply first" on a.txt and b.txt (records 1 and 2), then
    // "apply second" on c.txt, d.txt and e.txt (3 to 5); each file holds its
    // own name.
    void applyTwoRuns() const;
    // Statements on the profile's database, as another writer might run them.
    bool executeSql(const QString &sql) const;

    std::unique_ptr<QTemporaryDir> m_dir;
};

void RunHistoryTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(QDir(m_dir->path()).mkdir(u"files"_s));
}

CliRun RunHistoryTest::runNomly(const QStringList &arguments) const
{
    return runCli(QStringLiteral(NOMLY_BINARY), arguments, m_dir->path(), m_dir->filePath(u"files"_s));
}

Contents RunHistoryTest::contents() const
{
    Contents contents;
    const QDir folder(m_dir->filePath(u"files"_s));
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden))
        contents.append(name + u'=' + QString::fromUtf8(readFile(folder.filePath(name))));
    contents.sort();
    return contents;
}

QJsonArray RunHistoryTest::history() const
{
    const CliRun run = runNomly({ u"history"_s, u"--json"_s });
    if (run.exitCode != 0)
        qWarning().noquote() << "history failed:" << run.err;
    return QJsonDocument::fromJson(run.out.toUtf8()).array();
}

void RunHistoryTest::applyTwoRuns() const
{
    for (const QString &name : { u"a.txt"_s, u"b.txt"_s, u"c.txt"_s, u"d.txt"_s, u"e.txt"_s })
        QVERIFY(writeFile(filePath(name), name.toUtf8()));
    QCOMPARE(runNomly({ u"apply"_s, u"--title"_s, u"first"_s, u"a.txt"_s, u"b.txt"_s }).exitCode, 0);
    QCOMPARE(runNomly({ u"apply"_s, u"--title"_s, u"second"_s, u"c.txt"_s, u"d.txt"_s, u"e.txt"_s }).exitCode, 0);
}

bool RunHistoryTest::executeSql(const QString &sql) const
{
    sqlite3 *connection = nullptr;
    const QByteArray file = QFile::encodeName(m_dir->filePath(u"data/Nomly/nomly.db"_s));
    const bool ok = sqlite3_open_v2(file.constData(), &connection, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK
        && sqlite3_exec(connection, sql.toUtf8().constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(connection);
    return ok;
}

// After applyTwoRuns() and what a row does in between, `undo --last-run`.
void RunHistoryTest::undoLastRun_data()
{
    QTest::addColumn<QStringList>("before"); // a command run first
    QTest::addColumn<QString>("sql"); // run on the database first
    QTest::addColumn<QString>("replaced"); // a file put in the place of a renamed one
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<Contents>("after");

    const QString secondUndone
        = u"Second_2.txt -> e.txt: undone\nSecond_1.txt -> d.txt: undone\nSecond.txt -> c.txt: undone\n"_s;
    const Contents firstKept {
        u"First.txt=a.txt"_s, u"First_1.txt=b.txt"_s, u"c.txt=c.txt"_s, u"d.txt=d.txt"_s, u"e.txt=e.txt"_s
    };
    const Contents original {
        u"a.txt=a.txt"_s, u"b.txt=b.txt"_s, u"c.txt=c.txt"_s, u"d.txt=d.txt"_s, u"e.txt=e.txt"_s
    };
    QTest::newRow("newest-run-whole-in-reverse")
        << QStringList() << QString() << QString() << 0 << secondUndone << firstKept;
    QTest::newRow("undone-record-of-run-skipped")
        << QStringList { u"undo"_s, u"4"_s } << QString() << QString() << 0
        << u"Second_2.txt -> e.txt: undone\nSecond.txt -> c.txt: undone\n"_s << firstKept;
    QTest::newRow("again-takes-the-run-before")
        << QStringList { u"undo"_s, u"--last-run"_s } << QString() << QString() << 0
        << u"First_1.txt -> b.txt: undone\nFirst.txt -> a.txt: undone\n"_s << original;
    QTest::newRow("newest-without-run-alone")
        << QStringList() << u"UPDATE processed_files SET run_id = NULL WHERE id = 5"_s << QString() << 0
        << u"Second_2.txt -> e.txt: undone\n"_s
        << Contents { u"First.txt=a.txt"_s,
                      u"First_1.txt=b.txt"_s,
                      u"Second.txt=c.txt"_s,
                      u"Second_1.txt=d.txt"_s,
                      u"e.txt=e.txt"_s };
    QTest::newRow("failed-record-stops-nothing") << QStringList() << QString() << u"Second_1.txt"_s << 1
                                                 << u"Second_2.txt -> e.txt: undone\nSecond.txt -> c.txt: undone\n"_s
                                                 << Contents { u"First.txt=a.txt"_s,
                                                               u"First_1.txt=b.txt"_s,
                                                               u"Second_1.txt=someone else's"_s,
                                                               u"c.txt=c.txt"_s,
                                                               u"e.txt=e.txt"_s };
    QTest::newRow("nothing-to-undo") << QStringList { u"undo"_s, u"--all"_s } << QString() << QString() << 0
                                     << u"Nothing to undo\n"_s << original;
}

void RunHistoryTest::undoLastRun()
{
    QFETCH(QStringList, before);
    QFETCH(QString, sql);
    QFETCH(QString, replaced);
    QFETCH(int, exitCode);
    QFETCH(QString, out);
    QFETCH(Contents, after);

    applyTwoRuns();
    if (!before.isEmpty())
        QCOMPARE(runNomly(before).exitCode, 0);
    if (!sql.isEmpty())
        QVERIFY(executeSql(sql));
    if (!replaced.isEmpty()) {
        QVERIFY(QFile::remove(filePath(replaced)));
        QVERIFY(writeFile(filePath(replaced), "someone else's"));
    }

    const CliRun run = runNomly({ u"undo"_s, u"--last-run"_s });
    QCOMPARE(run.exitCode, exitCode);
    QCOMPARE(run.out, out);
    QCOMPARE(contents(), after);
}

// After applyTwoRuns() and the row's statement, the listing with its times
// read as T, and the runs of the JSON records, newest first, lettered in the
// order they first appear ("-" for none).
void RunHistoryTest::historyGroupsRuns_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("listing");
    QTest::addColumn<QString>("jsonRuns");

    const QString second = u"    5  T  batch  e.txt -> Second_2.txt\n"
                           "    4  T  batch  d.txt -> Second_1.txt\n"
                           "    3  T  batch  c.txt -> Second.txt\n"_s;
    const QString first = u"    2  T  batch  b.txt -> First_1.txt\n"
                          "    1  T  batch  a.txt -> First.txt\n"_s;
    QTest::newRow("newest-run-first") << QString() << QStringList()
                                      << u"run T · 3 files\n"_s + second + u"run T · 2 files\n"_s + first << u"aaabb"_s;
    QTest::newRow("limit-says-what-it-cut")
        << QString() << QStringList { u"--limit"_s, u"4"_s }
        << u"run T · 3 files\n"_s + second + u"run T · 1 of 2 files\n    2  T  batch  b.txt -> First_1.txt\n"_s
        << u"aaabb"_s;
    QTest::newRow("records-without-run-stand-alone")
        << u"UPDATE processed_files SET run_id = NULL WHERE id < 3"_s << QStringList()
        << u"run T · 3 files\n"_s + second
            + u"run T · 1 file\n    2  T  batch  b.txt -> First_1.txt\n"
              "run T · 1 file\n    1  T  batch  a.txt -> First.txt\n"_s
        << u"aaa--"_s;
    QTest::newRow("interleaved-runs-stand-together")
        << u"UPDATE processed_files SET run_id = (SELECT run_id FROM processed_files WHERE id = 1) WHERE id = 4"_s
        << QStringList()
        << u"run T · 2 files\n    5  T  batch  e.txt -> Second_2.txt\n    3  T  batch  c.txt -> Second.txt\n"
           "run T · 3 files\n    4  T  batch  d.txt -> Second_1.txt\n"_s
            + first
        << u"ababb"_s;
}

void RunHistoryTest::historyGroupsRuns()
{
    QFETCH(QString, sql);
    QFETCH(QStringList, arguments);
    QFETCH(QString, listing);
    QFETCH(QString, jsonRuns);

    applyTwoRuns();
    if (!sql.isEmpty())
        QVERIFY(executeSql(sql));

    const CliRun run = runNomly(QStringList { u"history"_s } + arguments);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(QString(run.out).replace(QRegularExpression(u"\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d"_s), u"T"_s), listing);
    QStringList runs;
    QString letters;
    for (const QJsonValue &record : history()) {
        if (!record.toObject().contains(u"runId"_s)) {
            letters += u'-';
            continue;
        }
        const QString runId = record[u"runId"_s].toString();
        if (!runs.contains(runId))
            runs.append(runId);
        letters += QChar(char16_t(u'a' + runs.indexOf(runId)));
    }
    QCOMPARE(letters, jsonRuns);
}

// The statistics count renames as they happened: taking a run back lowers
// nothing.
void RunHistoryTest::statsCountWhatHappened()
{
    applyTwoRuns();
    QCOMPARE(runNomly({ u"undo"_s, u"--last-run"_s }).exitCode, 0);
    const CliRun run = runNomly({ u"stats"_s, u"--json"_s, u"--days"_s, u"7"_s });
    QCOMPARE(run.exitCode, 0);
    const QJsonObject stats = QJsonDocument::fromJson(run.out.toUtf8()).object();
    QCOMPARE(stats.value(u"totalRenamed"_s).toInt(), 5);
    QCOMPARE(stats.value(u"currentStreakDays"_s).toInt(), 1);
    QCOMPARE(stats.value(u"monitorCount"_s).toInt(), 0);
    QCOMPARE(stats.value(u"dailyCounts"_s).toArray().size(), 7);
    QCOMPARE(stats.value(u"dailyCounts"_s).toArray().last()[u"count"_s].toInt(), 5);
    QCOMPARE(stats.value(u"byExtension"_s).toArray().first()[u"ext"_s].toString(), u".txt"_s);

    const CliRun text = runNomly({ u"stats"_s });
    QVERIFY2(text.out.startsWith(u"Files renamed:  5"_s), qPrintable(text.out));
    QVERIFY(text.out.contains(u"Active streak:  1 day (longest: 1 day)"_s));
    QCOMPARE(runNomly({ u"stats"_s, u"--days"_s, u"none"_s }).exitCode, 2);
}

QTEST_GUILESS_MAIN(RunHistoryTest)
#include "runhistorytest.moc"
