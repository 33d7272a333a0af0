// `nomly watch` and `nomly monitor` as a user runs them, against an Ollama
// server on loopback: one watcher per profile, the stored pause followed by
// the running watcher, a refusal that pauses, and a watcher killed in the
// middle of a burst whose successor leaves every file renamed exactly once.

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>

#include "cliprocess.h"
#include "filesystemfixtures.h"
#include "ollamapeer.h"

using namespace Qt::StringLiterals;
using namespace Nomly::Test;

namespace {

// Each file gets the title of its own number, whatever order they come in.
OllamaPeer::Answer titleFromNumber(const OllamaPeer::Request &request)
{
    static const QRegularExpression number(u"report number (\\d+)\\b"_s);
    const QRegularExpressionMatch match = number.match(request.prompt());
    const QString title = match.hasMatch() ? u"Harbour Report %1"_s.arg(match.captured(1)) : u"Unexpected"_s;
    return OllamaPeer::reply(u"{\"title\":\"%1\"}"_s.arg(title), std::chrono::milliseconds(40));
}

} // namespace

class WatchCommandTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QProcessEnvironment m_environment;
    std::unique_ptr<OllamaPeer> m_ollama;
    QList<QProcess *> m_watchers;

    QString inbox() const { return m_dir->filePath(u"profile/Inbox"_s); }

    CliRun nomly(const QStringList &arguments)
    {
        return runCliServing(QStringLiteral(NOMLY_BINARY), arguments, m_environment, m_dir->path());
    }

    // A watcher whose first line has been printed.
    QProcess *startWatch()
    {
        auto *watch = new QProcess(this);
        watch->setProcessEnvironment(m_environment);
        watch->start(QStringLiteral(NOMLY_BINARY), { u"watch"_s });
        m_watchers.append(watch);
        if (!watch->waitForStarted())
            return nullptr;
        return watch;
    }

    void writeReport(int number)
    {
        const QString name = u"scan%1.txt"_s.arg(number, 3, 10, QLatin1Char('0'));
        QVERIFY(writeFile(m_dir->filePath(name),
                          "Harbour report number " + QByteArray::number(number) + " on the state of the walls."));
        QVERIFY(QFile::rename(m_dir->filePath(name), inbox() + u'/' + name));
    }

    QStringList inboxNames() const { return QDir(inbox()).entryList(QDir::Files, QDir::Name); }

    QJsonArray history()
    {
        return QJsonDocument::fromJson(nomly({ u"history"_s, u"--json"_s, u"--limit"_s, u"1000"_s }).out.toUtf8())
            .array();
    }

private slots:

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_environment = cliEnvironment(m_dir->filePath(u"profile"_s));
        m_ollama = std::make_unique<OllamaPeer>();
        m_ollama->answerWith(titleFromNumber);
        QVERIFY(QDir().mkpath(inbox()));
        QCOMPARE(nomly({ u"consent"_s, u"--agree"_s }).exitCode, 0);
        QCOMPARE(nomly({ u"folders"_s, u"add"_s, inbox() }).exitCode, 0);
        // The endpoint first: the local route goes on only where Ollama answers.
        for (const auto &[key, value] : { std::pair { u"localAIEndpoint"_s, m_ollama->endpoint() },
                                          std::pair { u"aiProcessingMode"_s, u"local"_s },
                                          std::pair { u"localAIModel"_s, u"llama3.2-vision:latest"_s },
                                          std::pair { u"namingPattern"_s, u"{title}"_s } })
            QCOMPARE(nomly({ u"config"_s, u"set"_s, key, value }).exitCode, 0);
    }

    void cleanup()
    {
        for (QProcess *watch : std::as_const(m_watchers)) {
            if (watch->state() != QProcess::NotRunning) {
                watch->kill();
                watch->waitForFinished();
            }
        }
        qDeleteAll(m_watchers);
        m_watchers.clear();
    }

    // Files copied in are renamed and recorded as the watcher's; a second
    // watcher names the first and leaves; the stored pause is followed.
    void watchRenamesPausesAndStaysAlone()
    {
        QProcess *watch = startWatch();
        QVERIFY(watch);
        QByteArray out;
        QTRY_VERIFY((out += watch->readAllStandardOutput()).contains("Watching"));
        for (int i = 1; i <= 3; ++i)
            writeReport(i);
        QTRY_COMPARE_WITH_TIMEOUT((out += watch->readAllStandardOutput()).count(" -> "), 3, 20000);
        QVERIFY2(out.contains("scan001.txt -> Harbour Report 1.txt"), out.constData());
        QCOMPARE(inboxNames(),
                 (QStringList { u"Harbour Report 1.txt"_s, u"Harbour Report 2.txt"_s, u"Harbour Report 3.txt"_s }));
        const QJsonArray records = history();
        QCOMPARE(records.size(), 3);
        for (const QJsonValue &record : records)
            QCOMPARE(record[u"source"_s].toString(), u"watcher"_s);

        const CliRun second = nomly({ u"watch"_s });
        QCOMPARE(second.exitCode, 2);
        const QString pid = QString::number(watch->processId());
        QVERIFY2(second.err.contains(u"pid %1"_s.arg(pid)), qPrintable(second.err));
        QVERIFY2(nomly({ u"monitor"_s, u"status"_s }).out.contains(u"Monitor: running, in nomly (pid %1)"_s.arg(pid)),
                 qPrintable(nomly({ u"monitor"_s, u"status"_s }).out));

        QCOMPARE(nomly({ u"monitor"_s, u"pause"_s }).exitCode, 0);
        QTRY_VERIFY((out += watch->readAllStandardOutput()).contains("Monitoring Paused"));
        QVERIFY(nomly({ u"monitor"_s, u"status"_s }).out.startsWith(u"Monitor: paused"_s));
        const qsizetype asked = m_ollama->chatRequests().size();
        writeReport(4);
        QTest::qWait(2500);
        QCOMPARE(m_ollama->chatRequests().size(), asked);

        // Resuming looks at what arrived meanwhile.
        QCOMPARE(nomly({ u"monitor"_s, u"resume"_s }).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(
            (out += watch->readAllStandardOutput()).contains("scan004.txt -> Harbour Report 4.txt"), 20000);

        ::kill(pid_t(watch->processId()), SIGTERM);
        QVERIFY(watch->waitForFinished(20000));
        QVERIFY2(watch->exitCode() == 0, watch->readAllStandardError().left(4000).constData());
        QVERIFY(nomly({ u"monitor"_s, u"status"_s }).out.startsWith(u"Monitor: not running"_s));
    }

    // A refusal pauses Monitor and stores the pause; nothing more is asked.
    void refusalPauses()
    {
        m_ollama->answerAlways(OllamaPeer::failure(401, u"unauthorized"_s));
        QProcess *watch = startWatch();
        QVERIFY(watch);
        writeReport(1);
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += watch->readAllStandardOutput()).contains("Monitoring Paused"), 20000);
        QVERIFY2(out.contains("Ollama endpoint rejected the request"), out.constData());
        QCOMPARE(m_ollama->chatRequests().size(), 1);
        writeReport(2);
        QTest::qWait(2500);
        QCOMPARE(m_ollama->chatRequests().size(), 1);
        QVERIFY(nomly({ u"monitor"_s, u"status"_s }).out.startsWith(u"Monitor: paused"_s));
        QCOMPARE(inboxNames(), (QStringList { u"scan001.txt"_s, u"scan002.txt"_s }));
    }

    // kill -9 in the middle of a burst, then a new watcher: the journal and
    // the look back at recent files leave every file renamed exactly once,
    // each with its one record.
    void killedInTheMiddleOfABurst()
    {
        constexpr int Count = 50;
        QProcess *first = startWatch();
        QVERIFY(first);
        for (int i = 1; i <= Count; ++i)
            writeReport(i);
        QTRY_VERIFY_WITH_TIMEOUT(first->readAllStandardOutput().count(" -> ") > 0 || history().size() >= 5, 30000);
        ::kill(pid_t(first->processId()), SIGKILL);
        QVERIFY(first->waitForFinished());

        QProcess *second = startWatch();
        QVERIFY(second);
        QTRY_COMPARE_WITH_TIMEOUT(history().size(), Count, 120000);
        QStringList expected;
        for (int i = 1; i <= Count; ++i)
            expected.append(u"Harbour Report %1.txt"_s.arg(i));
        expected.sort();
        QTRY_COMPARE_WITH_TIMEOUT(inboxNames(), expected, 20000);
        QTest::qWait(2000);
        const QJsonArray records = history();
        QCOMPARE(records.size(), Count);
        QSet<QString> newNames;
        for (const QJsonValue &record : records) {
            const QString newPath = record[u"newPath"_s].toString();
            QVERIFY2(QFile::exists(newPath), qPrintable(newPath));
            newNames.insert(QFileInfo(newPath).fileName());
        }
        QCOMPARE(newNames.size(), Count);
    }
};

QTEST_MAIN(WatchCommandTest)
#include "watchcommandtest.moc"
