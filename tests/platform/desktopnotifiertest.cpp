// Posting notifications, against a notification server of the test's own on a
// private session bus, reached over the real D-Bus protocol. Each post runs in
// a process of its own, as `nomly quick` does, so that its stderr can be read.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusError>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include "platform/desktopnotifier.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

namespace {

const QString NotificationsService = u"org.freedesktop.Notifications"_s;
const QString PostArgument = u"--post"_s;

struct NotifyCall
{
    QString appName;
    uint replacesId = 0;
    QString appIcon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};

// Answers Notify as a notification server does, or refuses as a broken one
// does, and keeps what it was asked to show.
class FakeNotificationServer : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QList<NotifyCall> calls;
    bool refuse = false;

public Q_SLOTS:

    uint Notify(const QString &appName,
                uint replacesId,
                const QString &appIcon,
                const QString &summary,
                const QString &body,
                const QStringList &actions,
                const QVariantMap &hints,
                int expireTimeout)
    {
        if (refuse) {
            sendErrorReply(QDBusError::Failed, u"cannot show"_s);
            return 0;
        }
        calls.append({ appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout });
        return uint(calls.size());
    }

    QStringList GetCapabilities() { return { u"body"_s }; }
};

struct PostRun
{
    bool finished = false;
    QString stderrText;
};

// Posts from a child process and waits with this thread's event loop running,
// so that a server living here can answer it.
PostRun postFromChild(const QString &title, const QString &body, const QProcessEnvironment &environment)
{
    QProcess child;
    child.setProcessEnvironment(environment);
    QSignalSpy finished(&child, &QProcess::finished);
    child.start(QCoreApplication::applicationFilePath(), { PostArgument, title, body });
    PostRun run;
    run.finished = finished.wait(20000) && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    run.stderrText = QString::fromUtf8(child.readAllStandardError());
    return run;
}

bool hasLine(const QString &text, const QString &line)
{
    return text.split(u'\n').contains(line);
}

} // namespace

class DesktopNotifierTest : public QObject
{
    Q_OBJECT

private slots:

    void init()
    {
        if (!QDBusConnection::sessionBus().isConnected())
            QSKIP("no session bus; CTest runs this under dbus-run-session");
    }

    void serverShowsWhatWasPosted_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::newRow("all-renamed") << u"Rename Complete"_s << u"Successfully renamed 2 files."_s;
        QTest::newRow("non-ascii-survives") << u"Rename Failed"_s << u"Datei „Bericht ä.pdf“ fehlt."_s;
    }

    void serverShowsWhatWasPosted()
    {
        QFETCH(QString, title);
        QFETCH(QString, body);
        // Its own connection, as the desktop's server process would have.
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"server"_s);
        FakeNotificationServer server;
        QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_s, &server, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(NotificationsService));

        const PostRun run = postFromChild(title, body, QProcessEnvironment::systemEnvironment());
        bus.unregisterService(NotificationsService);
        bus.unregisterObject(u"/org/freedesktop/Notifications"_s);
        QDBusConnection::disconnectFromBus(u"server"_s);

        QVERIFY(run.finished);
        QCOMPARE(server.calls.size(), 1);
        const NotifyCall &call = server.calls.first();
        QCOMPARE(call.summary, title);
        QCOMPARE(call.body, body);
        QCOMPARE(call.appName, u"Nomly"_s);
        QCOMPARE(call.appIcon, u"nomly"_s);
        QCOMPARE(call.replacesId, 0U);
        QVERIFY(call.actions.isEmpty());
        QCOMPARE(call.hints.value(u"desktop-entry"_s).toString(), u"nomly"_s);
        QCOMPARE(call.expireTimeout, -1);
        // Shown on the desktop, so not repeated in the terminal.
        QVERIFY2(!run.stderrText.contains(title), qPrintable(run.stderrText));
    }

    void unansweredPostGoesToStderr_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("line");
        QTest::newRow("server-refuses") << u"refuses"_s << u"Successfully renamed 2 files."_s
                                        << u"Rename Complete: Successfully renamed 2 files."_s;
        QTest::newRow("no-server-on-bus") << u"absent"_s << u"Select files in your file manager and try again."_s
                                          << u"No Files Selected: Select files in your file manager and try again."_s;
        QTest::newRow("no-bus-at-all") << u"no-bus"_s << u"An error occurred. Please try again."_s
                                       << u"Rename Failed: An error occurred. Please try again."_s;
        QTest::newRow("body-kept-on-one-line")
            << u"absent"_s << u"Success: 1,\nFailed: 2."_s << u"Rename Failed: Success: 1, Failed: 2."_s;
    }

    void unansweredPostGoesToStderr()
    {
        QFETCH(QString, situation);
        QFETCH(QString, body);
        QFETCH(QString, line);
        const QString title = line.section(u": "_s, 0, 0);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"server"_s);
        FakeNotificationServer server;
        server.refuse = true;
        if (situation == "refuses"_L1) {
            QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_s, &server, QDBusConnection::ExportAllSlots));
            QVERIFY(bus.registerService(NotificationsService));
        } else if (situation == "absent"_L1) {
            // A server installed on this machine would be started by the bus.
            const QStringList activatable = QDBusConnection::sessionBus().interface()->activatableServiceNames();
            if (activatable.contains(NotificationsService))
                QSKIP("a notification server is installed and the bus would start it");
        } else {
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nonexistent/nomly-test-bus"_s);
        }

        const PostRun run = postFromChild(title, body, environment);
        bus.unregisterService(NotificationsService);
        bus.unregisterObject(u"/org/freedesktop/Notifications"_s);
        QDBusConnection::disconnectFromBus(u"server"_s);

        QVERIFY(run.finished);
        QVERIFY2(hasLine(run.stderrText, line), qPrintable(run.stderrText));
        QVERIFY(server.calls.isEmpty());
    }
};

int main(int argc, char **argv)
{
    // The child side: post once and end, as a short-lived command does.
    if (argc == 4 && QString::fromLocal8Bit(argv[1]) == PostArgument) {
        QCoreApplication app(argc, argv);
        DesktopNotifier::post(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
        return 0;
    }
    QCoreApplication app(argc, argv);
    DesktopNotifierTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "desktopnotifiertest.moc"
