// Expiry of ignored paths and hashes, on a short clock so the test is quick.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <QtConcurrent/QtConcurrentRun>

#include "history/undoignoreservice.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace Nomly;

class UndoIgnoreServiceTest : public QObject
{
    Q_OBJECT

private slots:
    void pathsCompareResolved();
    void entriesExpire();
    void readdingRestartsTheClock();
    void workerThreadsMayAdd();
};

void UndoIgnoreServiceTest::pathsCompareResolved()
{
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir(u"real"_s));
    QVERIFY(QFile::link(dir.filePath(u"real"_s), dir.filePath(u"link"_s)));
    UndoIgnoreService service;

    // Added under the link, asked under the real folder: one file, one entry.
    service.ignorePath(dir.filePath(u"link/gone-soon.txt"_s), true);
    QVERIFY(service.isPathIgnored(dir.filePath(u"real/gone-soon.txt"_s)));
    QVERIFY(!service.isPathIgnored(dir.filePath(u"real/other.txt"_s)));
    QCOMPARE(service.ignoredPaths().size(), 1);
}

void UndoIgnoreServiceTest::entriesExpire()
{
    UndoIgnoreService service(150ms);
    service.ignoreHash(u"ab"_s.repeated(32), false);
    service.ignorePath(u"/tmp/expiring.txt"_s, false);
    QVERIFY(service.isHashIgnored(u"ab"_s.repeated(32)));

    QTest::ignoreMessage(QtInfoMsg, "Undo ignore: removed hash abababababababab...");
    QTest::ignoreMessage(QtInfoMsg, "Undo ignore: removed path /tmp/expiring.txt");
    QTRY_VERIFY_WITH_TIMEOUT(service.ignoredHashes().isEmpty() && service.ignoredPaths().isEmpty(), 2000);
    // Readers see an entry as gone at its deadline; the timer may log a
    // moment later.
    QTest::qWait(100);
}

void UndoIgnoreServiceTest::readdingRestartsTheClock()
{
    UndoIgnoreService service(400ms);
    const QString path = u"/tmp/readded.txt"_s;
    service.ignorePath(path, true);
    QTest::qWait(250);
    service.ignorePath(path, true);
    // Past the first deadline, inside the second.
    QTest::qWait(250);
    QVERIFY(service.isPathIgnored(path));
    QTRY_VERIFY_WITH_TIMEOUT(!service.isPathIgnored(path), 2000);
}

void UndoIgnoreServiceTest::workerThreadsMayAdd()
{
    UndoIgnoreService service(200ms);
    QtConcurrent::run([&service] {
        for (int i = 0; i < 50; ++i)
            service.ignoreHash(QString::number(i), i > 0);
    }).waitForFinished();
    QCOMPARE(service.ignoredHashes().size(), 50);
    // Only a timer on the service's own thread can log the expiry; the worker
    // has no event loop.
    QTest::ignoreMessage(QtInfoMsg, "Undo ignore: removed hash 0...");
    QTRY_VERIFY_WITH_TIMEOUT(service.ignoredHashes().isEmpty(), 2000);
    QTest::qWait(100);
}

QTEST_GUILESS_MAIN(UndoIgnoreServiceTest)
#include "undoignoreservicetest.moc"
