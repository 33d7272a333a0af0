// Showing a file in the file manager, against a file manager of the test's
// own on a private session bus, reached over the real D-Bus protocol.

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QTest>

#include <qcoro/qcorotask.h>

#include "platform/filemanager.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

// Answers ShowItems as a file manager does, or refuses as a broken one does.
class FakeFileManager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<QStringList> shown;
    bool refuse = false;

public Q_SLOTS:

    void ShowItems(const QStringList &uris, const QString &startupId)
    {
        Q_UNUSED(startupId);
        if (refuse) {
            sendErrorReply(QDBusError::Failed, u"cannot show"_s);
            return;
        }
        shown.append(uris);
    }
};

bool show(const QString &path)
{
    auto showing = showItemInFileManager(path);
    return QCoro::waitFor(std::move(showing));
}

} // namespace

class FileManagerTest : public QObject
{
    Q_OBJECT

private slots:

    void noFileManagerAnswersFalse() { QVERIFY(!show(u"/tmp/report.pdf"_s)); }

    void showsItemAsEncodedUri_data()
    {
        QTest::addColumn<bool>("refuse");
        QTest::addColumn<bool>("shown");
        QTest::newRow("answers") << false << true;
        QTest::newRow("error reply") << true << false;
    }

    void showsItemAsEncodedUri()
    {
        QFETCH(bool, refuse);
        QFETCH(bool, shown);
        // Its own connection, as a separate file manager process would have.
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"file-manager"_s);
        FakeFileManager manager;
        manager.refuse = refuse;
        QVERIFY(bus.registerObject(u"/org/freedesktop/FileManager1"_s, &manager, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(u"org.freedesktop.FileManager1"_s));

        QCOMPARE(show(u"/tmp/Q3 Bericht ä#1.pdf"_s), shown);
        if (shown)
            QCOMPARE(manager.shown, (QList<QStringList> { { u"file:///tmp/Q3%20Bericht%20%C3%A4%231.pdf"_s } }));

        bus.unregisterService(u"org.freedesktop.FileManager1"_s);
        bus.unregisterObject(u"/org/freedesktop/FileManager1"_s);
        QDBusConnection::disconnectFromBus(u"file-manager"_s);
    }
};

QTEST_GUILESS_MAIN(FileManagerTest)
#include "filemanagertest.moc"
