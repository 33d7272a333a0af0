// A file-manager action while nomly-gui runs: `nomly quick` hands the files
// over D-Bus and ends at once, and the desktop process renames them, once,
// each hand-over as a run of its own.
// Runs in a private session bus; the AI is an Ollama peer on loopback.

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include "cliprocess.h"
#include "ollamapeer.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

class QuickForwardTest : public QObject
{
    Q_OBJECT

private slots:

    void runningDesktopRenamesOnce()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY(QDir(dir.path()).mkpath(u"files"_s));
        const QString profile = dir.filePath(u"profile"_s);
        // Set-up runs without the bus, so that no keyring is involved.
        const QProcessEnvironment offline = cliEnvironment(profile);
        QProcessEnvironment online = offline;
        online.insert(u"DBUS_SESSION_BUS_ADDRESS"_s,
                      QProcessEnvironment::systemEnvironment().value(u"DBUS_SESSION_BUS_ADDRESS"_s));
        online.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);

        OllamaPeer ollama;
        ollama.answerAlways(OllamaPeer::reply(u"{\"title\":\"Roadmap Minutes\"}"_s));
        for (const QStringList &arguments :
             { QStringList { u"config"_s, u"set"_s, u"localAIEndpoint"_s, ollama.endpoint() },
               QStringList { u"config"_s, u"set"_s, u"aiProcessingMode"_s, u"local"_s },
               QStringList { u"consent"_s, u"--agree"_s } })
            QCOMPARE(runCliServing(QStringLiteral(NOMLY_BINARY), arguments, offline, dir.path()).exitCode, 0);
        {
            QSettings defaults(profile + u"/config/Nomly/Nomly.conf"_s, QSettings::IniFormat);
            defaults.setValue(u"hasCompletedOnboarding"_s, true);
        }
        QFile note(dir.filePath(u"files/note.txt"_s));
        QVERIFY(note.open(QIODevice::WriteOnly));
        note.write("Minutes of the planning meeting with the product team about the roadmap.");
        note.close();

        QProcess desktop;
        desktop.setProcessEnvironment(online);
        desktop.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        desktop.start(QStringLiteral(NOMLY_GUI_BINARY), {});
        QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
        QVERIFY(bus);
        QTRY_VERIFY_WITH_TIMEOUT(bus->isServiceRegistered(u"org.nomly.Nomly"_s).value(), 30000);

        const CliRun handed = runCliServing(
            QStringLiteral(NOMLY_BINARY), { u"quick"_s, u"note.txt"_s }, online, dir.filePath(u"files"_s));
        QCOMPARE(handed.exitCode, 0);
        // The desktop may first start a keyring for its device secret, which is
        // slow on a loaded machine.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(dir.filePath(u"files/Roadmap Minutes.txt"_s)), 90000);
        // The record is stored right after the move; wait for it before the
        // desktop is asked to end.
        const auto records = [&] {
            const CliRun history
                = runCliServing(QStringLiteral(NOMLY_BINARY), { u"history"_s, u"--json"_s }, offline, dir.path());
            return QJsonDocument::fromJson(history.out.toUtf8()).array();
        };
        QTRY_COMPARE_WITH_TIMEOUT(records().size(), qsizetype(1), 30000);
        QCOMPARE(records().first().toObject().value(u"source"_s).toString(), u"finderService"_s);

        // The desktop lives on; a second hand-over is a second run.
        QFile second(dir.filePath(u"files/second.txt"_s));
        QVERIFY(second.open(QIODevice::WriteOnly));
        second.write("Minutes of the follow-up meeting about the same roadmap.");
        second.close();
        QCOMPARE(runCliServing(
                     QStringLiteral(NOMLY_BINARY), { u"quick"_s, u"second.txt"_s }, online, dir.filePath(u"files"_s))
                     .exitCode,
                 0);
        QTRY_COMPARE_WITH_TIMEOUT(records().size(), qsizetype(2), 90000);
        const QJsonArray both = records();
        QVERIFY(both.at(0)[u"runId"_s].isString() && both.at(1)[u"runId"_s].isString());
        QVERIFY(both.at(0)[u"runId"_s] != both.at(1)[u"runId"_s]);

        // SIGTERM ends the desktop through its own shutdown.
        desktop.terminate();
        QVERIFY(desktop.waitForFinished(10000));
        QCOMPARE(desktop.exitStatus(), QProcess::NormalExit);
        QCOMPARE(desktop.exitCode(), 0);
        QCOMPARE(ollama.chatRequests().size(), 2);
    }
};

QTEST_GUILESS_MAIN(QuickForwardTest)
#include "quickforwardtest.moc"
