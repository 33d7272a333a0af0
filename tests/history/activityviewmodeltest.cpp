// The activity window and undo, over a real database and real files.

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "filesystemfixtures.h"
#include "history/activityviewmodel.h"
#include "history/database.h"
#include "history/undoalertstate.h"
#include "history/undoignoreservice.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

// A rename of `originalName` to `newName` in `folder`, recorded at `second`
// seconds past a fixed moment so that the order is known.
ProcessedFile renameRecord(const QString &folder, const QString &originalName, const QString &newName, int second)
{
    ProcessedFile record;
    record.originalPath = folder + u'/' + originalName;
    record.newPath = folder + u'/' + newName;
    record.originalName = originalName;
    record.newName = newName;
    record.title = newName;
    record.aiProvider = u"manual"_s;
    record.processedAt = QDateTime(QDate(2026, 11, 1), QTime(0, 0), Qt::UTC).addSecs(second).toString(Qt::ISODate);
    record.source = ProcessedFileSource::Batch;
    return record;
}

} // namespace

class ActivityViewModelTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void paging();
    void addedRecordsCountOnce();
    void undo_data();
    void undo();
    void undoAllCountsOutcomes();
    void removeAndClearKeepFiles();

private:
    ProcessedFile store(ProcessedFile record);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_database;
    std::unique_ptr<UndoIgnoreService> m_undoIgnore;
    std::unique_ptr<ActivityViewModel> m_activity;
    int m_statsChanges = 0;
};

void ActivityViewModelTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    auto database = Database::open(m_dir->filePath(u"data"_s));
    QVERIFY2(database.ok(), qPrintable(database.error()));
    m_database = std::move(database).value();
    m_undoIgnore = std::make_unique<UndoIgnoreService>();
    m_activity = std::make_unique<ActivityViewModel>(*m_database, *m_undoIgnore);
    m_statsChanges = 0;
    m_activity->setOnStatsAffectingChange([this] { ++m_statsChanges; });
}

void ActivityViewModelTest::cleanup()
{
    m_activity.reset();
    m_undoIgnore.reset();
    m_database.reset();
    m_dir.reset();
}

ProcessedFile ActivityViewModelTest::store(ProcessedFile record)
{
    const auto id = m_database->insertProcessedFile(record);
    if (id.ok())
        record.id = id.value();
    return record;
}

void ActivityViewModelTest::paging()
{
    for (int i = 0; i < 250; ++i)
        store(renameRecord(m_dir->path(), u"a%1"_s.arg(i), u"b%1"_s.arg(i), i));

    QCoro::waitFor(m_activity->loadActivity());
    QCOMPARE(m_activity->activityFiles().size(), 30);
    QCOMPARE(m_activity->activityTotalCount(), 250);
    QCOMPARE(m_activity->activityFiles().first().newName, u"b249"_s);

    QList<qsizetype> sizes;
    for (int i = 0; i < 5; ++i) {
        QCoro::waitFor(m_activity->loadMoreActivity());
        sizes.append(m_activity->activityFiles().size());
    }
    QCOMPARE(sizes, (QList<qsizetype> { 50, 70, 90, 100, 100 }));
    QCOMPARE(m_activity->activityFiles().last().newName, u"b150"_s);
    QCOMPARE(m_activity->activityTotalCount(), 250);

    // A live record goes first and the window keeps its bound; paging stops.
    m_activity->addActivityFile(store(renameRecord(m_dir->path(), u"x"_s, u"y"_s, 1000)));
    QCOMPARE(m_activity->activityFiles().size(), 100);
    QCOMPARE(m_activity->activityFiles().first().newName, u"y"_s);
    QCOMPARE(m_activity->activityTotalCount(), 251);
    QCoro::waitFor(m_activity->loadMoreActivity());
    QCOMPARE(m_activity->activityFiles().size(), 100);
}

void ActivityViewModelTest::addedRecordsCountOnce()
{
    const ProcessedFile record = store(renameRecord(m_dir->path(), u"a"_s, u"b"_s, 0));
    m_activity->addActivityFile(record);
    m_activity->addActivityFile(record);
    QCOMPARE(m_activity->activityFiles().size(), 1);
    QCOMPARE(m_activity->activityTotalCount(), 1);
    QCOMPARE(m_statsChanges, 1);
}

void ActivityViewModelTest::undo_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<UndoOutcome::Kind>("expected");
    QTest::addColumn<bool>("recordStays");

    QTest::newRow("renamed-back") << u"plain"_s << UndoOutcome::Kind::Undone << false;
    QTest::newRow("renamed-by-hand-meanwhile") << u"missing"_s << UndoOutcome::Kind::FileMissing << false;
    QTest::newRow("something-took-the-old-name") << u"occupied"_s << UndoOutcome::Kind::OriginalOccupied << true;
    QTest::newRow("folder-refuses-the-move") << u"locked"_s << UndoOutcome::Kind::Failed << true;
    QTest::newRow("same-name-restores-metadata-only") << u"same"_s << UndoOutcome::Kind::Undone << false;
    // The renamed file was moved away by hand and another took its name:
    // that one is never moved in its place.
    QTest::newRow("another-file-took-the-new-name") << u"replaced"_s << UndoOutcome::Kind::Failed << true;
    QTest::newRow("renamed-file-edited-since") << u"edited"_s << UndoOutcome::Kind::Failed << true;
}

void ActivityViewModelTest::undo()
{
    QFETCH(QString, situation);
    QFETCH(UndoOutcome::Kind, expected);
    QFETCH(bool, recordStays);

    const QString folder = m_dir->filePath(u"files"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString newName = situation == u"same" ? u"scan.txt"_s : u"Report.txt"_s;
    ProcessedFile renamed = renameRecord(folder, u"scan.txt"_s, newName, 0);
    if (situation != u"missing")
        QVERIFY(writeFile(renamed.newPath, "renamed bytes"));
    renamed.fileIdentity = FileIdentity::of(renamed.newPath);
    // What the file had before: tags whose bytes are not UTF-8 come back as
    // they were, over the tags the rename wrote.
    const QByteArray ownTags("Red,\xff\xfe");
    renamed.metadataSnapshot = ProcessedFileMetadataSnapshot { { u"Red"_s }, {}, {}, ownTags, {}, {} };
    if (situation != u"missing")
        QVERIFY(setAttribute(renamed.newPath, "user.xdg.tags", "finance"));
    const ProcessedFile record = store(renamed);
    if (situation == u"occupied")
        QVERIFY(writeFile(record.originalPath, "someone else"));
    if (situation == u"replaced") {
        QVERIFY(QFile::rename(record.newPath, m_dir->filePath(u"moved away.txt"_s)));
        QVERIFY(writeFile(record.newPath, "another file"));
    }
    if (situation == u"edited") {
        QFile edited(record.newPath);
        QVERIFY(edited.open(QIODevice::Append));
        QVERIFY(edited.write(", edited") > 0);
    }
    std::unique_ptr<LockedFolder> lock;
    if (situation == u"locked") {
        lock = std::make_unique<LockedFolder>(folder);
        if (!lock->isLocked())
            QSKIP("this file system cannot lock a folder");
    }
    QCoro::waitFor(m_activity->loadActivity());

    const UndoOutcome outcome = QCoro::waitFor(m_activity->undo(record));
    lock.reset();

    QCOMPARE(outcome.kind, expected);
    QCOMPARE(m_activity->activityFiles().size(), recordStays ? 1 : 0);
    QCOMPARE(m_activity->activityTotalCount(), recordStays ? 1 : 0);
    QCOMPARE(m_database->countActiveProcessedFiles().value(), recordStays ? 1 : 0);
    if (situation == u"plain" || situation == u"same") {
        QCOMPARE(readFile(record.originalPath), "renamed bytes");
        QVERIFY(m_undoIgnore->isPathIgnored(record.originalPath) == (situation == u"plain"));
        QCOMPARE(attribute(record.originalPath, "user.xdg.tags"), ownTags);
    }
    if (situation == u"replaced" || situation == u"edited") {
        QVERIFY2(outcome.message.contains(u"is not the file Nomly renamed"_s), qPrintable(outcome.message));
        QVERIFY(!QFileInfo::exists(record.originalPath));
        QCOMPARE(readFile(record.newPath), situation == u"replaced" ? "another file" : "renamed bytes, edited");
    }
    if (situation == u"occupied" || situation == u"locked")
        QCOMPARE(readFile(record.newPath), "renamed bytes");
    if (situation == u"occupied") {
        QCOMPARE(readFile(record.originalPath), "someone else");
        const auto alert = UndoAlertState::forOutcome(outcome, record);
        QCOMPARE(alert->title(), u"Cannot Undo"_s);
        QCOMPARE(alert->message(), u"A file already exists at the original location \"scan.txt\"."_s);
        QCOMPARE(alert->buttons(), QStringList { u"Remove Record"_s });
    }
}

void ActivityViewModelTest::undoAllCountsOutcomes()
{
    QList<ProcessedFile> records;
    for (int i = 0; i < 3; ++i) {
        records.append(store(renameRecord(m_dir->path(), u"old%1"_s.arg(i), u"new%1"_s.arg(i), i)));
        QVERIFY(writeFile(records.last().newPath, QByteArray::number(i)));
    }
    QVERIFY(writeFile(records[1].originalPath, "in the way"));
    QSignalSpy finished(m_activity.get(), &ActivityViewModel::undoFinished);

    QCoro::waitFor(m_activity->undoAll());

    QCOMPARE(finished.size(), 3);
    QCOMPARE(m_activity->undoAllProgress(), (QPair<qint64, qint64>(3, 3)));
    QVERIFY(!m_activity->isUndoingAll());
    // Newest first, and the occupied one stays listed after the reload.
    QCOMPARE(finished.first().first().value<ProcessedFile>().newName, u"new2"_s);
    QCOMPARE(m_activity->activityFiles().size(), 1);
    QCOMPARE(m_activity->activityFiles().first().newName, u"new1"_s);
    QCOMPARE(readFile(records[0].originalPath), "0");
    QCOMPARE(readFile(records[2].originalPath), "2");
}

void ActivityViewModelTest::removeAndClearKeepFiles()
{
    const ProcessedFile first = store(renameRecord(m_dir->path(), u"a"_s, u"b"_s, 0));
    store(renameRecord(m_dir->path(), u"c"_s, u"d"_s, 1));
    QVERIFY(writeFile(first.newPath, "kept"));
    QCoro::waitFor(m_activity->loadActivity());

    QVERIFY(QCoro::waitFor(m_activity->removeRecord(first)));
    QCOMPARE(m_activity->activityTotalCount(), 1);
    QVERIFY(QCoro::waitFor(m_activity->clearAll()));
    QCOMPARE(m_activity->activityTotalCount(), 0);
    QCOMPARE(m_statsChanges, 2);
    QCOMPARE(readFile(first.newPath), "kept");
    // Statistics count renames that happened, whatever became of them.
    QCOMPARE(m_database->fetchStatsAggregates(u"2026-11-01T00:00:00Z"_s, u"2026-10-01T00:00:00Z"_s, std::nullopt)
                 .value()
                 .total,
             2);
}

QTEST_GUILESS_MAIN(ActivityViewModelTest)
#include "activityviewmodeltest.moc"
