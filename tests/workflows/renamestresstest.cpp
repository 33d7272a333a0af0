// Two thousand real files renamed under forty titles, then all taken back:
// no byte may be lost, duplicated or left under the wrong name.

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

#include <qcoro/qcorotask.h>

#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "workflows/processanalyzedfileusecase.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

constexpr int FileCount = 2000;
constexpr int TitleCount = 40;

// Distinct for every index: the decimal index ends at the first ':', and
// only file 0 is empty. Sizes run from 0 to about 4 KB.
QByteArray content(int index)
{
    if (index == 0)
        return {};
    QByteArray bytes = QByteArray::number(index) + ':';
    quint32 state = quint32(index) * 2654435761u;
    for (int n = (index * 131) % 4001; n > 0; --n) {
        state = state * 1664525u + 1013904223u;
        bytes.append(char(state >> 24));
    }
    return bytes;
}

QString title(int index)
{
    return u"Topic %1"_s.arg(index % TitleCount, 2, 10, QLatin1Char('0'));
}

// Every tenth file already carries a name the renames will want, so names
// are freed and taken again while the batch runs.
QString originalName(int index)
{
    if (index % 10 == 0)
        return u"Topic %1_%2.dat"_s.arg((index / 10) % TitleCount, 2, 10, QLatin1Char('0'))
            .arg(index / 10 / TitleCount + 1);
    return u"in-%1.dat"_s.arg(index, 4, 10, QLatin1Char('0'));
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// The content hashes of every file in the folder, sorted: a multiset.
QList<QByteArray> hashesIn(const QDir &folder)
{
    QList<QByteArray> hashes;
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden))
        hashes.append(QCryptographicHash::hash(readAll(folder.filePath(name)), QCryptographicHash::Sha1));
    std::sort(hashes.begin(), hashes.end());
    return hashes;
}

} // namespace

class RenameStressTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFileSurvivesRenameAndUndoAll();

private:
    QTemporaryDir m_dir;
};

void RenameStressTest::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.filePath(u"data"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir.filePath(u"config"_s)));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.filePath(u"cache"_s)));
    // Thousands of per-file info lines would only slow the run down.
    QLoggingCategory::setFilterRules(u"com.nomly.app.*.info=false"_s);
}

void RenameStressTest::everyFileSurvivesRenameAndUndoAll()
{
    auto opened = Database::open(m_dir.filePath(u"data/Nomly"_s));
    QVERIFY2(opened, qPrintable(opened.error()));
    const std::unique_ptr<Database> database = std::move(opened).value();
    UndoIgnoreService undoIgnore;
    ActivityViewModel activity(*database, undoIgnore);
    ProcessAnalyzedFileUseCase useCase(*database, undoIgnore);
    useCase.setDependencies({
        [](const QString &, ProcessedFileSource) { return EffectiveAnalysisSettings(); },
        [&activity](const ProcessedFile &record) { activity.addActivityFile(record); },
    });

    QVERIFY(QDir(m_dir.path()).mkdir(u"files"_s));
    const QDir folder(m_dir.filePath(u"files"_s));
    for (int i = 0; i < FileCount; ++i) {
        QFile file(folder.filePath(originalName(i)));
        QVERIFY(file.open(QIODevice::NewOnly));
        QCOMPARE(file.write(content(i)), content(i).size());
    }
    const QList<QByteArray> hashes = hashesIn(folder);
    QCOMPARE(hashes.size(), FileCount);
    QVERIFY(std::adjacent_find(hashes.cbegin(), hashes.cend()) == hashes.cend());

    QElapsedTimer clock;
    clock.start();
    QSet<QString> newNames;
    for (int i = 0; i < FileCount; ++i) {
        ImageAnalysis analysis;
        analysis.title = title(i);
        const FileProcessingResult result = QCoro::waitFor(useCase.processAnalyzedFile(
            folder.filePath(originalName(i)), analysis, std::nullopt, ProcessedFileSource::Hotkey, u"stress"_s));
        QVERIFY2(result.success, qPrintable(originalName(i) + u": "_s + result.error.value_or(QString())));
        newNames.insert(result.newName.value_or(QString()));
    }
    const qint64 renameMs = clock.restart();
    QCOMPARE(newNames.size(), FileCount);
    const QStringList renamed = folder.entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(QSet<QString>(renamed.cbegin(), renamed.cend()), newNames);
    QCOMPARE(hashesIn(folder), hashes);
    QCOMPARE(activity.activityTotalCount(), FileCount);

    int notUndone = 0;
    connect(&activity, &ActivityViewModel::undoFinished, this, [&notUndone](const auto &, const UndoOutcome &outcome) {
        notUndone += outcome.kind == UndoOutcome::Kind::Undone ? 0 : 1;
    });
    QCoro::waitFor(activity.undoAll());
    const qint64 undoMs = clock.elapsed();
    qInfo("%d renames took %lld ms, undo all %lld ms", FileCount, renameMs, undoMs);

    QCOMPARE(notUndone, 0);
    QCOMPARE(folder.entryList(QDir::Files | QDir::Hidden).size(), FileCount);
    for (int i = 0; i < FileCount; ++i)
        QVERIFY2(readAll(folder.filePath(originalName(i))) == content(i), qPrintable(originalName(i)));
    QCOMPARE(activity.activityTotalCount(), 0);
    QVERIFY(activity.activityFiles().isEmpty());
    QCOMPARE(database->countActiveProcessedFiles().value(), 0);
}

QTEST_GUILESS_MAIN(RenameStressTest)
#include "renamestresstest.moc"
