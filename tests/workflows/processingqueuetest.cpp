// Monitor's queue with a handler that takes its time, as renaming does:
// groups in arrival order, each path once while it waits, and counters that a
// stop or a late group cannot leave wrong.

#include <QSignalSpy>
#include <QTest>

#include <qcoro/qcorotask.h>
#include <qcoro/qcorotimer.h>

#include "workflows/processingqueue.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

QStringList numbered(int count, int from = 0)
{
    QStringList paths;
    for (int i = from; i < from + count; ++i)
        paths.append(u"/watched/file%1.txt"_s.arg(i, 4, 10, QLatin1Char('0')));
    return paths;
}

} // namespace

class ProcessingQueueTest : public QObject
{
    Q_OBJECT

    int m_groupSize = 5;
    int m_delay = 0;
    std::chrono::milliseconds m_handlerTime { 0 };
    QList<QStringList> m_groups;

    std::unique_ptr<ProcessingQueue> makeQueue()
    {
        auto queue = std::make_unique<ProcessingQueue>([this] { return m_groupSize; }, [this] { return m_delay; });
        queue->setBatchHandler([this](QStringList group) -> QCoro::Task<> {
            m_groups.append(group);
            if (m_handlerTime.count() > 0)
                co_await QCoro::sleepFor(m_handlerTime);
        });
        queue->setSessionTail(std::chrono::milliseconds(300));
        return queue;
    }

private slots:

    void init()
    {
        m_groupSize = 5;
        m_delay = 0;
        m_handlerTime = std::chrono::milliseconds(0);
        m_groups.clear();
    }

    void groups_data()
    {
        QTest::addColumn<int>("groupSize");
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<int>>("sizes");

        QTest::newRow("one-at-a-time") << 1 << 3 << QList<int> { 1, 1, 1 };
        QTest::newRow("five-of-twelve") << 5 << 12 << QList<int> { 5, 5, 2 };
        QTest::newRow("nought-is-one") << 0 << 2 << QList<int> { 1, 1 };
        // Long enough that the spent front is dropped several times.
        QTest::newRow("six-hundred") << 7 << 600 << QList<int>();
    }

    // Groups follow arrival order, also across the dropping of the spent
    // front of a long queue; the counters end at the whole session.
    void groups()
    {
        QFETCH(int, groupSize);
        QFETCH(int, count);
        QFETCH(QList<int>, sizes);

        m_groupSize = groupSize;
        m_delay = 1;
        const auto queue = makeQueue();
        const QStringList paths = numbered(count);
        queue->enqueue(paths);
        QTRY_VERIFY_WITH_TIMEOUT(!queue->isWorking(), 20000);

        QStringList seen;
        QList<int> seenSizes;
        for (const QStringList &group : std::as_const(m_groups)) {
            seen += group;
            seenSizes.append(int(group.size()));
        }
        QCOMPARE(seen, paths);
        if (!sizes.isEmpty())
            QCOMPARE(seenSizes, sizes);
        QCOMPARE(queue->processedCount(), count);
        QCOMPARE(queue->totalFilesInSession(), count);
        QCOMPARE(queue->queueCount(), 0);
        // The tail shows the session, then the counters start over.
        QTRY_COMPARE(queue->totalFilesInSession(), 0);
        QCOMPARE(queue->processedCount(), 0);
    }

    void duplicatesAndRequeue()
    {
        m_groupSize = 1;
        m_handlerTime = std::chrono::milliseconds(100);
        const auto queue = makeQueue();
        const QStringList paths = numbered(2);
        queue->enqueue(paths);
        // The first is in its group now; the second waits.
        QCOMPARE(queue->currentBatch(), paths.mid(0, 1));
        queue->enqueue({ paths.at(1) });
        QCOMPARE(queue->queueCount(), 1);
        QCOMPARE(queue->totalFilesInSession(), 2);
        // A path under way may wait again, as a retry does.
        queue->enqueue({ paths.at(0) });
        QCOMPARE(queue->queueCount(), 2);
        QVERIFY(queue->isProcessing(paths.at(0)));
        // Taking away the path under way leaves its group alone.
        queue->remove({ paths.at(1) });
        QCOMPARE(queue->waitingPaths(), paths.mid(0, 1));
        QCOMPARE(queue->totalFilesInSession(), 2);
        QTRY_VERIFY(!queue->isWorking());
        QCOMPARE(m_groups, (QList<QStringList> { paths.mid(0, 1), paths.mid(0, 1) }));
    }

    // A stop while a group is out: the group's late return counts nothing,
    // and the session shows what was finished.
    void clearDuringGroup()
    {
        m_groupSize = 2;
        m_handlerTime = std::chrono::milliseconds(150);
        const auto queue = makeQueue();
        queue->enqueue(numbered(6));
        QTRY_COMPARE(queue->processedCount(), 2);
        QCOMPARE(queue->currentBatch().size(), 2);
        queue->clear();
        QCOMPARE(queue->queueCount(), 0);
        QCOMPARE(queue->totalFilesInSession(), 2);
        QVERIFY(queue->currentBatch().isEmpty());
        QTest::qWait(250);
        QCOMPARE(queue->processedCount(), 2);
        QCOMPARE(m_groups.size(), 2);

        // A new file after the stop starts a new worker, and the session
        // counts on.
        queue->enqueue(numbered(1, 100));
        QTRY_COMPARE(queue->processedCount(), 3);
        QCOMPARE(queue->totalFilesInSession(), 3);
    }

    // A file arriving within the tail keeps the session counting.
    void arrivalWithinTheTail()
    {
        const auto queue = makeQueue();
        queue->enqueue(numbered(2));
        QTRY_VERIFY(!queue->isWorking());
        QTest::qWait(150);
        queue->enqueue(numbered(1, 10));
        QTRY_VERIFY(!queue->isWorking());
        QCOMPARE(queue->processedCount(), 3);
        QCOMPARE(queue->totalFilesInSession(), 3);
        QTest::qWait(200);
        QCOMPARE(queue->totalFilesInSession(), 3);
        QTRY_COMPARE(queue->totalFilesInSession(), 0);
    }
};

QTEST_GUILESS_MAIN(ProcessingQueueTest)
#include "processingqueuetest.moc"
