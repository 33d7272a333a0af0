// Monitor over a real folder, a real inotify stream, a real history and an
// Ollama server on loopback: new files are renamed once, files the program
// moved or saw before are left alone, a refusal pauses and a passing failure
// is tried again, and the network decides in cloud mode.

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

#include <qcoro/qcorotask.h>

#include "ai/aiimageartifactcache.h"
#include "ai/aiservice.h"
#include "ai/deviceservice.h"
#include "filesystemfixtures.h"
#include "history/database.h"
#include "history/undoignoreservice.h"
#include "ollamapeer.h"
#include "profileservices.h"
#include "workflows/monitoringviewmodel.h"
#include "workflows/processanalyzedfileusecase.h"
#include "workflows/providerrefusal.h"

using namespace Qt::StringLiterals;
using namespace Nomly;
using namespace Nomly::Test;

namespace {

const QString Model = u"llama3.2-vision:latest"_s;

OllamaPeer::Answer titled(const QString &title)
{
    return OllamaPeer::reply(u"{\"title\":\"%1\"}"_s.arg(title));
}

struct Rig
{
    Rig()
        : profile(dir.path(), ProfileServices::Keys::InFile)
        , device(profile.defaults, *profile.secrets, nullptr, dir.filePath(u"no-machine-id"_s))
        , service(network,
                  HostedBackend(u"http://127.0.0.1:9"_s, u"t.t.t"_s),
                  device,
                  *profile.custody,
                  artifacts,
                  [] { return QString(); })
        , database(std::move(Database::open(dir.filePath(u"history"_s))).value())
        , renamer(*database, undoIgnore)
        , monitoring(*database, undoIgnore)
    {
        QDir(dir.path()).mkpath(u"inbox"_s);
        settings.watchedFolders = { inbox() };
        settings.aiProcessingMode = AIProcessingMode::Local;
        settings.localAIEndpoint = ollama.endpoint();
        settings.localAIModel = Model;
        settings.namingPattern = u"{title}"_s;
        remote.processingDelayMs = 0;
        renamer.setDependencies({
            [this](const QString &, ProcessedFileSource) { return resolveEffectiveAnalysisSettings(settings, {}, {}); },
            [](const ProcessedFile &) {},
        });

        MonitoringViewModel::Dependencies dependencies;
        dependencies.settingsProvider = [this] { return settings; };
        dependencies.effectiveAnalysisForFile
            = [this](const QString &) { return resolveEffectiveAnalysisSettings(settings, {}, {}); };
        dependencies.isOnboardingComplete = [] { return true; };
        dependencies.isOffline = [this] { return offline; };
        dependencies.hasAIDataConsent = [] { return true; };
        dependencies.isBatchRenamePath = [](const QString &) { return false; };
        dependencies.processAnalyzedFile
            = [this](QString path, ImageAnalysis analysis, std::optional<QString> hash, QString provider) {
                  return renamer.processAnalyzedFile(
                      std::move(path), std::move(analysis), std::move(hash), ProcessedFileSource::Watcher, provider);
              };
        dependencies.persistMonitoringPaused = [this](bool paused) { settings.monitoringPaused = paused; };
        dependencies.remoteConfig = [this] { return remote; };
        dependencies.extractionOptions = [] { return ExtractionOptions(); };
        dependencies.aiService = [this](QString *) { return &service; };
        dependencies.notify
            = [this](const QString &title, const QString &body) { told.append(title + u": "_s + body); };
        monitoring.setTiming({ std::chrono::milliseconds(20),
                               std::chrono::milliseconds(150),
                               std::chrono::milliseconds(40),
                               std::chrono::milliseconds(250) });
        monitoring.setDependencies(std::move(dependencies));
    }

    QString inbox() const { return dir.filePath(u"inbox"_s); }

    QString inInbox(const QString &name) const { return dir.filePath(u"inbox/"_s + name); }

    QStringList names() const { return QDir(inbox()).entryList(QDir::Files, QDir::Name); }

    int records()
    {
        const auto count = database->countActiveProcessedFiles(ProcessedFileSource::Watcher);
        return count.ok() ? int(count.value()) : -1;
    }

    QTemporaryDir dir;
    ProfileServices profile;
    DeviceService device;
    AIImageArtifactCache artifacts { std::nullopt };
    QNetworkAccessManager network;
    AIService service;
    OllamaPeer ollama;
    std::unique_ptr<Database> database;
    // Short, so that the history alone must know what was renamed.
    UndoIgnoreService undoIgnore { std::chrono::milliseconds(1000) };
    ProcessAnalyzedFileUseCase renamer;
    Settings settings;
    RemoteConfig remote;
    bool offline = false;
    QStringList told;
    MonitoringViewModel monitoring;
};

QByteArray report(int i)
{
    return "Survey of the harbour walls, section " + QByteArray::number(i) + ", measured in the spring.";
}

} // namespace

Q_DECLARE_METATYPE(Nomly::Test::OllamaPeer::Answer)

class MonitoringViewModelTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<Rig> m_rig;

    // Started, with the look back at recent files over, so that a file
    // written next reaches Monitor once, through the watcher.
    void startQuietly()
    {
        m_rig->monitoring.startWatching();
        QVERIFY(m_rig->monitoring.isWatching());
        QTest::qWait(100);
    }

private slots:

    void init()
    {
        m_rig = std::make_unique<Rig>();
        QVERIFY(m_rig->dir.isValid());
    }

    void cleanup() { m_rig.reset(); }

    void refusalReason_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("reason"); // empty: worth another try

        QTest::newRow("own-key-rejected")
            << u"Invalid OpenAI API key. Please double-check and try again."_s << u"provider_auth_failed"_s;
        QTest::newRow("capitals") << u"INVALID API KEY"_s << u"provider_auth_failed"_s;
        QTest::newRow("quota") << u"OpenAI quota is exhausted. Add billing or credits in OpenAI, then retry."_s
                               << u"provider_quota_exhausted"_s;
        QTest::newRow("model-missing") << u"Ollama model \"x\" is not installed. Pull it in Ollama."_s
                                       << u"provider_model_unavailable"_s;
        QTest::newRow("busy") << u"OpenAI is temporarily unavailable. Wait a moment, then retry."_s << QString();
        QTest::newRow("invalid-json-not-a-key") << u"Local AI returned invalid JSON"_s << QString();
    }

    void refusalReason()
    {
        QFETCH(QString, text);
        QFETCH(QString, reason);
        QCOMPARE(providerRefusalReason(text).value_or(QString()), reason);
    }

    // Files written in, moved in, and written slowly are each renamed once;
    // the renamed files' own events do not start a second round.
    void newFilesAreRenamedOnce()
    {
        m_rig->ollama.answerWith([](const OllamaPeer::Request &request) {
            const QString prompt = request.prompt();
            for (int i = 1; i <= 3; ++i) {
                if (prompt.contains(u"section %1,"_s.arg(i)))
                    return titled(u"Harbour Survey %1"_s.arg(i));
            }
            return titled(u"Unexpected"_s);
        });
        startQuietly();
        QSignalSpy renamed(&m_rig->monitoring, &MonitoringViewModel::fileRenamed);

        QVERIFY(writeFile(m_rig->inInbox(u"scan1.txt"_s), report(1)));
        QVERIFY(writeFile(m_rig->dir.filePath(u"outside.txt"_s), report(2)));
        QVERIFY(QFile::rename(m_rig->dir.filePath(u"outside.txt"_s), m_rig->inInbox(u"moved.txt"_s)));
        {
            QFile slow(m_rig->inInbox(u"slow.txt"_s));
            QVERIFY(slow.open(QIODevice::WriteOnly));
            const QByteArray text = report(3);
            for (int piece = 0; piece < 4; ++piece) {
                slow.write(text.mid(piece * text.size() / 4, text.size() / 4 + 1));
                slow.flush();
                QTest::qWait(150);
            }
        }

        QTRY_COMPARE_WITH_TIMEOUT(
            m_rig->names(),
            (QStringList { u"Harbour Survey 1.txt"_s, u"Harbour Survey 2.txt"_s, u"Harbour Survey 3.txt"_s }),
            10000);
        QTRY_COMPARE(m_rig->records(), 3);
        QTest::qWait(800);
        QCOMPARE(renamed.size(), 3);
        QCOMPARE(m_rig->ollama.chatRequests().size(), 3);
        QVERIFY(m_rig->monitoring.monitorQueueItems().isEmpty());
    }

    // A copy of content already renamed, and a file an undo put back, are
    // not new files, also once the ignore window is over.
    void seenFilesAreLeftAlone()
    {
        m_rig->ollama.answerAlways(titled(u"Harbour Survey"_s));
        startQuietly();
        QVERIFY(writeFile(m_rig->inInbox(u"scan.txt"_s), report(1)));
        QTRY_COMPARE_WITH_TIMEOUT(m_rig->names(), QStringList { u"Harbour Survey.txt"_s }, 10000);
        QTRY_COMPARE(m_rig->records(), 1);
        QTest::qWait(1100);

        // The same bytes with the same time, as `cp -p` leaves them.
        QVERIFY(writeFile(m_rig->dir.filePath(u"copy.txt"_s), report(1)));
        struct stat renamed = {};
        QCOMPARE(::stat(QFile::encodeName(m_rig->inInbox(u"Harbour Survey.txt"_s)).constData(), &renamed), 0);
        const struct timespec times[2] = { renamed.st_atim, renamed.st_mtim };
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(m_rig->dir.filePath(u"copy.txt"_s)).constData(), times, 0), 0);
        QVERIFY(QFile::rename(m_rig->dir.filePath(u"copy.txt"_s), m_rig->inInbox(u"copy.txt"_s)));

        QTest::qWait(1000);

        // Taken back by another process, whose ignore list this one never
        // sees: the record says undone, and the file is back under its name.
        const auto records = m_rig->database->fetchActiveProcessedFiles(10, 0);
        QVERIFY(records.ok() && records.value().size() == 1);
        QVERIFY(m_rig->database->markUndone(records.value().first().id.value_or(-1)).ok());
        QVERIFY(QFile::rename(m_rig->inInbox(u"Harbour Survey.txt"_s), m_rig->inInbox(u"scan.txt"_s)));

        QTest::qWait(1200);
        QCOMPARE(m_rig->names(), (QStringList { u"copy.txt"_s, u"scan.txt"_s }));
        QCOMPARE(m_rig->ollama.chatRequests().size(), 1);
    }

    void failures_data()
    {
        QTest::addColumn<OllamaPeer::Answer>("answer");
        QTest::addColumn<bool>("pauses");
        QTest::addColumn<int>("requests");

        // A refusal stops Monitor at once and for good.
        QTest::newRow("model-missing") << OllamaPeer::failure(404, u"model \"x\" not found, try pulling it first"_s)
                                       << true << 1;
        // A passing failure is tried three more times, then given up.
        QTest::newRow("busy") << OllamaPeer::failure(503, u"server busy"_s) << false << 4;
    }

    void failures()
    {
        QFETCH(OllamaPeer::Answer, answer);
        QFETCH(bool, pauses);
        QFETCH(int, requests);

        m_rig->ollama.answerAlways(answer);
        startQuietly();
        QSignalSpy failed(&m_rig->monitoring, &MonitoringViewModel::fileFailed);
        QVERIFY(writeFile(m_rig->inInbox(u"scan.txt"_s), report(1)));
        QTRY_COMPARE_WITH_TIMEOUT(m_rig->ollama.chatRequests().size(), requests, 10000);
        QTRY_VERIFY(pauses ? m_rig->monitoring.isPaused() : failed.size() == 1);
        QTest::qWait(600);
        QCOMPARE(m_rig->ollama.chatRequests().size(), requests);
        QCOMPARE(m_rig->names(), QStringList { u"scan.txt"_s });
        QCOMPARE(m_rig->records(), 0);
        QCOMPARE(m_rig->settings.monitoringPaused, pauses);
        QCOMPARE(m_rig->monitoring.isWatching(), !pauses);
        QVERIFY(m_rig->monitoring.monitorQueueItems().isEmpty());
        if (pauses) {
            QCOMPARE(m_rig->told.size(), 1);
            QVERIFY2(m_rig->told.first().startsWith(u"Monitoring Paused: Ollama model"_s),
                     qPrintable(m_rig->told.first()));
            // Nothing new is taken while paused.
            QVERIFY(writeFile(m_rig->inInbox(u"later.txt"_s), report(2)));
            QTest::qWait(600);
            QCOMPARE(m_rig->ollama.chatRequests().size(), requests);
        }
    }

    // In cloud mode the network decides, after a calm: a flap within it is
    // one reaction, a loss stops Monitor without a pause, the return starts it.
    void networkInCloudMode()
    {
        m_rig->settings.aiProcessingMode = AIProcessingMode::Cloud;
        m_rig->monitoring.startWatching();
        QVERIFY(m_rig->monitoring.isWatching());

        m_rig->offline = true;
        m_rig->monitoring.handleNetworkChange(false);
        m_rig->offline = false;
        m_rig->monitoring.handleNetworkChange(true);
        QTest::qWait(300);
        QVERIFY(m_rig->monitoring.isWatching());
        QVERIFY(m_rig->told.isEmpty());

        m_rig->offline = true;
        m_rig->monitoring.handleNetworkChange(false);
        QVERIFY(m_rig->monitoring.isWatching());
        QTRY_VERIFY(!m_rig->monitoring.isWatching());
        QVERIFY(!m_rig->monitoring.isPaused());
        QCOMPARE(m_rig->told, QStringList { u"Monitoring Paused: No internet connection. Monitoring paused."_s });

        m_rig->offline = false;
        m_rig->monitoring.handleNetworkChange(true);
        QTRY_VERIFY(m_rig->monitoring.isWatching());

        // The local route does not need the network.
        m_rig->settings.aiProcessingMode = AIProcessingMode::Local;
        m_rig->offline = true;
        m_rig->monitoring.handleNetworkChange(false);
        QTest::qWait(300);
        QVERIFY(m_rig->monitoring.isWatching());

        // A folder the user adds is announced while Monitor can work on it.
        m_rig->told.clear();
        m_rig->monitoring.announceFolderReady(m_rig->inbox());
        QCOMPARE(m_rig->told,
                 QStringList { u"Nomly is Ready!: Now watching %1 for new supported files"_s.arg(m_rig->inbox()) });
        m_rig->settings.aiProcessingMode = AIProcessingMode::Cloud;
        m_rig->told.clear();
        m_rig->monitoring.announceFolderReady(m_rig->inbox());
        QVERIFY(m_rig->told.isEmpty());
    }

    // A watched folder that goes and comes back: told once, and watched
    // again as soon as it is there.
    void folderGoesAndReturns()
    {
        const QString other = m_rig->dir.filePath(u"other"_s);
        QVERIFY(QDir().mkpath(other));
        m_rig->settings.watchedFolders = { m_rig->inbox(), other };
        m_rig->monitoring.startWatching();
        QCOMPARE(m_rig->monitoring.watchedFolders().size(), 2);

        const QString away = m_rig->dir.filePath(u"away"_s);
        QVERIFY(QDir().rename(other, away));
        QTRY_COMPARE(m_rig->monitoring.watchedFolders(), QStringList { m_rig->inbox() });
        m_rig->monitoring.refreshFolderAvailability(true);
        QCOMPARE(m_rig->told,
                 QStringList { u"Monitored Folder Unavailable: %1 is unavailable. Monitoring continues for your "
                               "other folders."_s.arg(other) });

        // Back, as a disk mounted again: watched again with no one asking.
        QVERIFY(QDir().rename(away, other));
        QTRY_COMPARE(m_rig->monitoring.watchedFolders().size(), 2);
        QCOMPARE(m_rig->told.size(), 1);
    }
};

QTEST_GUILESS_MAIN(MonitoringViewModelTest)
#include "monitoringviewmodeltest.moc"
