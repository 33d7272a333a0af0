// Two "processes" as two connections to a private session bus: the second
// finds the first and hands over its files.

#include <QDBusConnection>
#include <QSignalSpy>
#include <QTest>

#include <QtConcurrent/QtConcurrentRun>

#include "platform/singleinstance.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    void secondHandsOverToFirst_data();
    void secondHandsOverToFirst();
    void nameFreedWhenFirstEnds();
};

void SingleInstanceTest::secondHandsOverToFirst_data()
{
    QTest::addColumn<QStringList>("files");

    QTest::newRow("files") << QStringList { u"/home/u/a.pdf"_s, u"/home/u/b c.jpg"_s };
    QTest::newRow("come-forward-only") << QStringList {};
}

void SingleInstanceTest::secondHandsOverToFirst()
{
    QFETCH(QStringList, files);
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("no session bus; CTest runs this under dbus-run-session");

    SingleInstance first;
    QVERIFY(first.claim());
    QSignalSpy received(&first, &SingleInstance::filesReceived);

    // Its own connection, as a second process would have.
    const QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"second"_s);
    {
        SingleInstance second(other);
        QVERIFY(!second.claim());
        // The call blocks as it does in a second process; here the first one
        // answers from this thread's event loop, so the call goes elsewhere.
        auto forwarding = QtConcurrent::run([&second, &files] { return second.forward(files); });
        QTRY_VERIFY(forwarding.isFinished());
        QVERIFY(forwarding.result());
    }
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.first().first().toStringList(), files);
    QDBusConnection::disconnectFromBus(u"second"_s);
}

void SingleInstanceTest::nameFreedWhenFirstEnds()
{
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("no session bus; CTest runs this under dbus-run-session");
    const QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"later"_s);
    {
        SingleInstance first;
        QVERIFY(first.claim());
    }
    SingleInstance later(other);
    QVERIFY(later.claim());
    QDBusConnection::disconnectFromBus(u"later"_s);
}

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "singleinstancetest.moc"
